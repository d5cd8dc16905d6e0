// Drawing overlays on a picture.

#include <fmt/format.h>

#include <cstdio>
#include <limits>
#include <new>

#include "frames/geometry/ColorspaceInfo.h"
#include "frames/geometry/OverlayPlacement.h"
#include "frames/geometry/UccFormat.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferSet.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {
namespace {

constexpr uint32_t kRefused = 1;
constexpr uint32_t kOverlayTypeBlend = 2;
constexpr uint32_t kPackedPixelBytes = 4;

bool isEven(int64_t value) {
  return value % 2 == 0;
}

bool fits32Bits(int64_t value) {
  return value >= std::numeric_limits<int32_t>::min() && value <= std::numeric_limits<int32_t>::max();
}

uint32_t refuseGeometry() {
  std::puts("Incorrect input parameters.");
  return kRefused;
}

}  // namespace

uint32_t VideoFrameBuffer::applyOverlay(VideoOverlayFrames& overlays) {
  return guarded("VideoFrameBuffer::applyOverlay", [&]() -> uint32_t {
    const ScopedLock hold(overlays.getLock());
    const std::vector<VideoOverlayFrame*>& frames = overlays.framesToDraw();
    if (frames.empty() || !ucc_overlay_s || !ucc_overlay_apply_s) return kFailure;
    uint32_t result = kSuccess;
    for (VideoOverlayFrame* overlay : frames) {
      // One that is refused takes none of the others with it.
      const uint32_t status = drawOverlay(*overlay);
      if (result == kSuccess) result = status;
    }
    return result;
  });
}

uint32_t VideoFrameBuffer::drawOverlay(VideoOverlayFrame& overlay) {
  const OverlayRequest request{overlay.getDstX(),
                               overlay.getDstY(),
                               {overlay.getDstWidth(), overlay.getDstHeight()},
                               overlay.getDstAlign()};
  if (request.size.width == 0 || request.size.height == 0) return kSuccess;
  const OverlayPlacement placement = placeOverlay({frame.width, frame.height}, request);
  // The device road has no picture to draw on.
  if (!placement.fits || !buffer || getScaleImplementation() == kScaleCUDA) return kSuccess;
  if (overlay.getShape() == VideoOverlayFrame::Shape::kShort) {
    reportShortOverlay(overlay);
    return kSuccess;
  }
  if (drawByPlugin(overlay, placement)) return kSuccess;
  return drawByConverter(overlay, placement);
}

bool VideoFrameBuffer::drawByPlugin(VideoOverlayFrame& overlay, const OverlayPlacement& placement) {
  const uint32_t width = overlay.getWidth();
  const uint32_t height = overlay.getHeight();
  const bool suits = (getScaleFlags() & kScaleFlagPluginOverlays) != 0 && isEven(placement.x) &&
                     isEven(placement.y) && isEven(width) && isEven(height) && isEven(frame.width) &&
                     isEven(frame.height) && width == overlay.getDstWidth() &&
                     height == overlay.getDstHeight() &&
                     overlay.getShape() == VideoOverlayFrame::Shape::kSound && fits32Bits(placement.x) &&
                     fits32Bits(placement.y);
  if (!suits || !hasScalerSession()) return false;
  overlay.convertFrameToVUYA();
  VideoFrameIntrinsicScalerFrame image{kFourCCVUYA, overlay.getBufferYUVA(), width * kPackedPixelBytes, width,
                                       height};
  if (overlay.getFourCC() == kFourCCVUYA) {
    if (overlay.uccView().stride[0] < 0) return false;  // the record has no bottom-up images
    image.plane = overlay.uccView().plane[0];
    image.stride = static_cast<uint32_t>(overlay.uccView().stride[0]);
  }
  if (image.plane == nullptr) return false;
  VideoFrameIntrinsicScalerFrame target{frame.four_cc, frame.plane[0], static_cast<uint32_t>(stride),
                                        frame.width, frame.height};
  const uint32_t status = VideoFrameIntrinsicScalerSingleton::getInstance()->overlayFrame(
      instrinsicScalerSessionPtr, VIDEO_SCALER_OVERLAY_BLEND, static_cast<uint32_t>(placement.x),
      static_cast<uint32_t>(placement.y), &image, &target);
  if (status != kSuccess) return false;
  forgetBars();
  return true;
}

uint32_t VideoFrameBuffer::drawByConverter(VideoOverlayFrame& overlay, const OverlayPlacement& placement) {
  mc_frame_colorspace_info_t info;
  if (overlay.getShape() == VideoOverlayFrame::Shape::kRefused ||
      get_frame_colorspace_info(&info, overlay.getDstWidth(), overlay.getDstHeight(), overlay.getFourCC()) !=
          0 ||
      get_frame_colorspace_info(&info, frame.width, frame.height, frame.four_cc) != 0) {
    return refuseGeometry();
  }
  if (overlay.getBlender() == nullptr) return kFailure;
  if (!fits32Bits(placement.insetX) || !fits32Bits(placement.insetY)) return kSuccess;  // far outside
  ucc_frame_t image = overlay.uccView();
  ucc_frame_t picture;
  if (uccViewOfFrame(&picture, frame) == 0) return refuseGeometry();
  ucc_overlay_config_t blend{};
  blend.type = kOverlayTypeBlend;
  blend.frame = &image;
  blend.x = static_cast<int32_t>(placement.insetX);
  blend.y = static_cast<int32_t>(placement.insetY);
  blend.width = overlay.getDstWidth();
  blend.height = overlay.getDstHeight();
  blend.content_id = overlay.getContentId();
  ucc_config_t config{};
  config.overlay = &blend;
  forgetBars();
  // The overlay's own instance keeps its image scaled and converted from picture to picture.
  const uint32_t status = UCC_Transform(overlay.getBlender(), &picture, &picture, &config);
  if (status == kUccNoMemory) throw std::bad_alloc();
  return status == 0 ? kSuccess : refuseGeometry();
}

void VideoFrameBuffer::reportShortOverlay(VideoOverlayFrame& overlay) const {
  if (!overlay.takeReport()) return;
  loggerOrGlobal(logger)->warn(
      kLogContextNone, 0,
      fmt::format("VideoFrameBuffer.applyOverlay[{{context}}]: Overlay is not drawn, its image is too short: "
                  "size:{}x{} stride:{} offset:{} bytes:{}",
                  overlay.getWidth(), overlay.getHeight(), static_cast<int32_t>(overlay.getStride()),
                  overlay.getFrameStartOffset(), overlay.getBufferLen()));
}

bool VideoFrameBuffer::hasScalerSession() {
  auto* scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
  if (!scaler->isAvailable()) return false;
  if (instrinsicScalerSessionPtr == nullptr) scaler->create(&instrinsicScalerSessionPtr);
  return instrinsicScalerSessionPtr != nullptr;
}

}  // namespace qvs

// Drawing an overlay on a picture in host memory, by the scaler plug-in or by the converter.
#include "frames/OverlayDrawing.h"

#include <fmt/format.h>

#include <cstdio>
#include <limits>
#include <new>

#include "frames/geometry/ColorspaceInfo.h"
#include "frames/geometry/UccFormat.h"
#include "frames/IntrinsicScalerSession.h"
#include "frames/VideoOverlayFrame.h"
#include "log/LogGlobalLogger.h"
#include "platform/Status.h"

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

/// The plug-in draws images that need no scaling, at even places.
bool drawByPlugin(VideoOverlayFrame& overlay, const OverlayPlacement& placement,
                  const OverlayTarget& target) {
  const uint32_t width = overlay.getWidth();
  const uint32_t height = overlay.getHeight();
  const bool suits = target.plugin != nullptr && isEven(placement.x) && isEven(placement.y) &&
                     isEven(width) && isEven(height) && width == overlay.getDstWidth() &&
                     height == overlay.getDstHeight() &&
                     overlay.getShape() == VideoOverlayFrame::Shape::kSound && fits32Bits(placement.x) &&
                     fits32Bits(placement.y) && IntrinsicScalerSession::canTell(target.picture);
  if (!suits || !target.plugin->open()) return false;
  overlay.convertFrameToVUYA();
  VideoFrameIntrinsicScalerFrame image{kFourCCVUYA, overlay.getBufferYUVA(), width * kPackedPixelBytes, width,
                                       height};
  if (overlay.getFourCC() == kFourCCVUYA) {
    if (overlay.uccView().stride[0] < 0) return false;  // the record has no bottom-up images
    image.plane = overlay.uccView().plane[0];
    image.stride = static_cast<uint32_t>(overlay.uccView().stride[0]);
  }
  return image.plane != nullptr &&
         target.plugin->drawOverlay(image, static_cast<int32_t>(placement.x),
                                    static_cast<int32_t>(placement.y), target.picture);
}

uint32_t drawByConverter(const VideoOverlayFrame& overlay, const OverlayPlacement& placement,
                         const frame_tt& target) {
  mc_frame_colorspace_info_t info;
  if (overlay.getShape() == VideoOverlayFrame::Shape::kRefused ||
      get_frame_colorspace_info(&info, overlay.getDstWidth(), overlay.getDstHeight(), overlay.getFourCC()) !=
          0 ||
      get_frame_colorspace_info(&info, target.width, target.height, target.four_cc) != 0) {
    return refuseGeometry();
  }
  if (overlay.getBlender() == nullptr) return kFailure;
  if (!fits32Bits(placement.insetX) || !fits32Bits(placement.insetY)) return kSuccess;  // far outside
  ucc_frame_t image = overlay.uccView();
  ucc_frame_t picture;
  if (uccViewOfFrame(&picture, target) == 0) return refuseGeometry();
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
  // The overlay's own instance keeps its image scaled and converted from picture to picture.
  const uint32_t status = UCC_Transform(overlay.getBlender(), &picture, &picture, &config);
  if (status == kUccNoMemory) throw std::bad_alloc();
  return status == 0 ? kSuccess : refuseGeometry();
}

}  // namespace

OverlayPlacement placementOf(const VideoOverlayFrame& overlay, PixelSize picture) {
  const OverlayRequest request{overlay.getDstX(),
                               overlay.getDstY(),
                               {overlay.getDstWidth(), overlay.getDstHeight()},
                               overlay.getDstAlign()};
  if (request.size.width == 0 || request.size.height == 0) return {};
  return placeOverlay(picture, request);
}

bool isCovered(VideoOverlayFrame& overlay, ILogger* logger) {
  if (overlay.getShape() != VideoOverlayFrame::Shape::kShort) return true;
  if (!overlay.takeReport()) return false;
  loggerOrGlobal(logger)->warn(
      kLogContextNone, 0,
      fmt::format("VideoFrameBuffer.applyOverlay[{{context}}]: Overlay is not drawn, its image is too short: "
                  "size:{}x{} stride:{} offset:{} bytes:{}",
                  overlay.getWidth(), overlay.getHeight(), static_cast<int32_t>(overlay.getStride()),
                  overlay.getFrameStartOffset(), overlay.getBufferLen()));
  return false;
}

uint32_t drawOverlay(VideoOverlayFrame& overlay, const OverlayPlacement& placement,
                     const OverlayTarget& target) {
  if (!isCovered(overlay, target.logger)) return kSuccess;
  return drawByPlugin(overlay, placement, target) ? kSuccess
                                                  : drawByConverter(overlay, placement, target.picture);
}

}  // namespace qvs

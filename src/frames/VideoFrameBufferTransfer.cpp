// Placing one picture in another.

#include <cstdio>
#include <new>

#include "contract/ScaleIds.h"
#include "frames/BlackPainter.h"
#include "frames/geometry/ColorspaceInfo.h"
#include "frames/geometry/PictureTurn.h"
#include "frames/geometry/UccFormat.h"
#include "frames/OddChroma.h"
#include "frames/VideoFrameBuffer.h"
#include "platform/Guard.h"

namespace qvs {
namespace {

constexpr uint32_t kRefused = 1;

PixelSize sizeOf(const frame_tt& frame) {
  return {frame.width, frame.height};
}
PixelRect wholeOf(const frame_tt& frame) {
  return {0, 0, frame.width, frame.height};
}

PixelSize displaySizeOf(const VideoFrameBuffer& source) {
  const int32_t width = source.getDisplayWidth();
  const int32_t height = source.getDisplayHeight();
  if (width <= 0 || height <= 0) return sizeOf(source.getFrame());
  return {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
}

uint32_t refuseGeometry() {
  std::puts("Incorrect input parameters.");
  return kRefused;
}

/// The picture area between letterbox bars of even size; false where the target's format can't be cut so.
bool letterboxArea(const frame_tt& target, const Placement& placement, PixelRect* area) {
  mc_frame_colorspace_info_t info;
  if (placement.target.isEmpty()) return false;
  if (get_frame_colorspace_info(&info, target.width, target.height, target.four_cc) != 0) return false;
  const auto bar =
      static_cast<uint32_t>(placement.barsTopAndBottom ? placement.target.y : placement.target.x);
  const uint32_t evenBar = bar + (bar & 1);
  const uint32_t barX = placement.barsTopAndBottom ? 0 : evenBar;
  const uint32_t barY = placement.barsTopAndBottom ? evenBar : 0;
  if (evenBar != 0 && crop_frame_colorspace_info(&info, barX, barY, barX, barY) != 0) return false;
  *area = {barX, barY, info.width, info.height};
  return true;
}

}  // namespace

uint32_t VideoFrameBuffer::transferFrame(VideoFrameBuffer& source, bool force) {
  return transferFrame(source, 1, force);
}

uint32_t VideoFrameBuffer::transferFrame(VideoFrameBuffer& source, uint32_t /*mode*/, bool force) {
  // By contract the allocation's label.
  return guarded("VideoFrameBuffer::allocBuffer", [&]() -> uint32_t {
    const uint32_t implementation = source.getScaleImplementation();
    if (implementation == kScaleU30) return kSuccess;
    setFrameType(source.getFrameType());
    setTimecode(source.getTimecode());
    copyTimecodeInfo(source);

    const bool onCpu = implementation != kScaleCUDA && implementation != kScaleOpenCL;
    const PictureTurn turn = onCpu ? PictureTurn::of(source.getScaleFlags()) : PictureTurn{};
    const PixelSize shown = turn.shownSize(displaySizeOf(source));
    const Placement placement =
        placeFrame(turn.shownSize(sizeOf(source.frame)), shown, sizeOf(frame), getPlacementRequest());
    return onCpu ? placeOnCpu(source, placement, shown, force)
                 : placeOnDevice(source, placement, shown, force);
  });
}

uint32_t VideoFrameBuffer::placeOnDevice(VideoFrameBuffer& source, const Placement& placement,
                                         PixelSize display, bool force) {
  const bool onCuda = source.getScaleImplementation() == kScaleCUDA;
  // A stage's own storage comes without a device picture.
  if (onCuda && device && buffer && allocateCUDAFrameIfNeeded() != kSuccess) return kFailure;
  const bool newBars = getFitMode() == kFitLetterbox && bars.takeDue(display, force);
  if ((newBars || placement.clearsTarget) && hasDevicePicture()) device->fillBlack();
  if (!source.buffer || !buffer || !onCuda) return kSuccess;
  // Without device pictures there is nothing to scale; the target claims what would have been made.
  if (!hasDevicePicture() || !source.hasDevicePicture()) {
    locations = CUDA;
    return kSuccess;
  }
  if (!source.isLocationCUDA() && source.transferToLocation(CUDA) != kSuccess) return kFailure;
  // Forced: overlays are about to be drawn, which waits for both.
  const auto completion = force ? DevicePicture::Completion::kQueued : DevicePicture::Completion::kDone;
  const uint32_t status = device->place(*source.device, placement, completion);
  if (status == kSuccess) locations = CUDA;
  // What was there is partly overwritten; the bars have to come again.
  if (status != kSuccess) bars.forget();
  return status;
}

uint32_t VideoFrameBuffer::placeOnCpu(VideoFrameBuffer& source, const Placement& placement, PixelSize display,
                                      bool force) {
  const bool placed = (source.getScaleFlags() & kScaleFlagPlaceOnCpu) != 0;
  PixelRect from = wholeOf(source.frame);
  PixelRect to = wholeOf(frame);
  if (placed && placement.hasSource) {
    const PictureTurn turn = PictureTurn::of(source.getScaleFlags());
    const PixelSize size = sizeOf(source.frame);
    from = clipRect(turn.codedRect(placement.source, size), size, placementStep(source.frame.four_cc));
  }
  if (placed && placement.hasTarget)
    to = clipRect(placement.target, sizeOf(frame), placementStep(frame.four_cc));
  if (getFitMode() == kFitLetterbox && !letterboxArea(frame, placement, &to)) return refuseGeometry();
  if (!source.buffer || !buffer) return kSuccess;
  if (placed && (from.isEmpty() || to.isEmpty())) return kFailure;

  const BlackPainter painter(ucc_blackfill_s.get(), frame);
  if (getFitMode() == kFitLetterbox) {
    if (bars.takeDue(display, force)) painter.paintAround(to);
  } else {
    bars.forget();
    if (placed && placement.clearsTarget) painter.paintAround(to);
  }
  const uint32_t status = scaleFrom(source, from, to);
  locations = systemMem;
  return status;
}

uint32_t VideoFrameBuffer::scaleFrom(const VideoFrameBuffer& source, const PixelRect& from,
                                     const PixelRect& to) {
  ucc_frame_t sourceView;
  ucc_frame_t targetView;
  if (uccViewOfRect(&sourceView, source.frame, from) == 0 || uccViewOfRect(&targetView, frame, to) == 0) {
    return refuseGeometry();
  }
  ucc_config_t config{};
  config.orientation = PictureTurn::of(source.getScaleFlags()).orientation();
  const uint32_t status = UCC_Transform(ucc_s.get(), &targetView, &sourceView, &config);
  if (status == kUccNoMemory) throw std::bad_alloc();
  if (status != 0) return kRefused;
  completeOddChroma(frame);
  return kSuccess;
}

uint32_t VideoFrameBuffer::blackFill() {
  return guarded("VideoFrameBuffer::blackFill", [&]() -> uint32_t {
    if (getScaleImplementation() == kScaleCUDA) {
      if (hasDevicePicture()) device->fillBlack();
      // Where only the host's copy counts, it is the one that has to be black.
      if (locations != systemMem) return kSuccess;
    }
    if (!buffer) return kSuccess;
    if (!ucc_blackfill_s) return kRefused;
    return BlackPainter(ucc_blackfill_s.get(), frame).paint(wholeOf(frame)) ? kSuccess : kRefused;
  });
}

uint32_t VideoFrameBuffer::blackFill(const mc_frame_colorspace_info_t& /*info*/) {
  return blackFill();
}

}  // namespace qvs

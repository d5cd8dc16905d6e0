// A card's display mode as the system tells it.
#include "capture/decklink/BlackMagicVideoCaptureFormat.h"

#include <algorithm>

namespace qvs {

namespace {

constexpr uint32_t kColorSpace601 = 1, kColorSpace709 = 2;

uint32_t bounded(int64_t value) {
  return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, INT32_MAX));
}

}  // namespace

BlackMagicVideoCaptureFormat BlackMagicVideoCaptureFormat::of(IDeckLinkDisplayMode& mode) {
  BlackMagicVideoCaptureFormat format;
  BMDTimeValue duration = 0;
  BMDTimeScale scale = 0;
  if (mode.GetFrameRate(&duration, &scale) == S_OK && duration > 0 && scale > 0) {
    format.videoFrameRateEnum = bounded(scale);
    format.videoFrameRateDen = bounded(duration);
    format.videoFrameRate = static_cast<double>(scale) / static_cast<double>(duration);
  }
  format.videoFrameWidth = bounded(mode.GetWidth());
  format.videoFrameHeight = bounded(mode.GetHeight());
  const BMDFieldDominance dominance = mode.GetFieldDominance();
  format.videoProgressive = dominance == bmdProgressiveFrame;
  format.videoTopFieldFirst = dominance == bmdProgressiveFrame || dominance == bmdUpperFieldFirst;
  const BMDDisplayModeFlags flags = mode.GetFlags();
  if ((flags & bmdDisplayModeColorspaceRec601) != 0) {
    format.videoColorSpace = kColorSpace601;
  } else if ((flags & bmdDisplayModeColorspaceRec709) != 0) {
    format.videoColorSpace = kColorSpace709;
  }
  return format;
}

void BlackMagicVideoCaptureFormat::writeTo(CaptureSessionInfoData& info) const {
  info.renditionIndex = static_cast<uint32_t>(renditionIndex);
  info.videoColorSpace = videoColorSpace;
  info.videoFrameWidth = videoFrameWidth;
  info.videoFrameHeight = videoFrameHeight;
  info.videoFrameRateEnum = videoFrameRateEnum;
  info.videoFrameRateDen = videoFrameRateDen;
  info.videoFrameRate = videoFrameRate;
  info.videoProgressive = videoProgressive;
  info.videoTopFieldFirst = videoTopFieldFirst;
  info.video3D = video3D;
}

}  // namespace qvs

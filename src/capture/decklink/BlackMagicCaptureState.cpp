// What a card's device shares with its threads.
#include "capture/decklink/BlackMagicCaptureState.h"

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"

namespace qvs {

CaptureFrame* BlackMagicCaptureState::createPicture(uint32_t width, uint32_t height) {
  if (!bufferSet) bufferSet = std::make_unique<VideoFrameBufferSet>();
  return createCaptureFrameVideo(width, height, kFourCCYV12, bufferSet.get());
}

bool BlackMagicCaptureState::findVideoFormat(uint32_t input, BlackMagicVideoCaptureFormat* format) {
  const ScopedLock guard(*lock);
  const auto found = videoFormatMap.find(input);
  if (found == videoFormatMap.end()) return false;
  *format = found->second;
  return true;
}

void BlackMagicCaptureState::keepVideoFormat(uint32_t input, const BlackMagicVideoCaptureFormat& format) {
  if (input == 0) return;
  const ScopedLock guard(*lock);
  videoFormatMap[input] = format;
}

void BlackMagicCaptureState::clearVideoFormats() {
  const ScopedLock guard(*lock);
  videoFormatMap.clear();
}

}  // namespace qvs

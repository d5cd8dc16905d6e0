// Makes and unmakes captured frames.
#include "capture/CaptureUtils.h"

#include "frames/VideoFrameBufferSet.h"
#include "platform/Guard.h"

namespace qvs {

bool CaptureUtils::preparePicture(VideoFrameBuffer& picture, uint32_t width, uint32_t height, uint32_t fourcc,
                                  VideoFrameBufferSet* set) {
  if (set != nullptr && picture.getBufferSet() != set) picture.setBufferSet(set, set->getScaleSetData());
  // Cleared, since a short file leaves parts of a picture as they are.
  if (picture.allocBuffer(width, height, fourcc, 1) != kSuccess) return false;
  return picture.getBuffer() != nullptr && picture.getWidth() == width && picture.getHeight() == height;
}

bool CaptureUtils::prepareSound(AudioSampleBuffer& sound, uint32_t sampleCount, uint32_t channels,
                                uint32_t sampleRate) {
  if (sound.getBuffer() == nullptr || uint64_t{sampleCount} * channels * 2 > sound.getLen()) {
    return sound.allocBuffer(sampleCount, channels, sampleRate) == kSuccess;
  }
  sound.setSampleCount(sampleCount);
  sound.setChannels(channels);
  sound.setSampleRate(sampleRate);
  return true;
}

CaptureFrame* CaptureUtils::createCaptureFrameVideo(uint32_t width, uint32_t height, uint32_t fourcc,
                                                    VideoFrameBufferSet* set) {
  return guarded(
      "CaptureUtils::createCaptureFrameVideo",
      [&]() -> CaptureFrame* {
        auto picture = std::make_unique<VideoFrameBuffer>();
        if (!preparePicture(*picture, width, height, fourcc, set)) return nullptr;
        picture->initialize();
        return new CaptureFrame(std::move(picture));
      },
      static_cast<CaptureFrame*>(nullptr));
}

CaptureFrame* CaptureUtils::createCaptureFrameAudio(uint32_t sampleCount, uint32_t channels,
                                                    uint32_t sampleRate) {
  return guarded(
      "CaptureUtils::createCaptureFrameAudio",
      [&]() -> CaptureFrame* {
        auto sound = std::make_unique<AudioSampleBuffer>();
        if (!prepareSound(*sound, sampleCount, channels, sampleRate)) return nullptr;
        return new CaptureFrame(std::move(sound));
      },
      static_cast<CaptureFrame*>(nullptr));
}

void CaptureUtils::deleteCaptureFrame(CaptureFrame* frame) {
  delete frame;
}

std::string CaptureUtils::getImplementationName(uint32_t implementation) {
  return implementation == kCaptureImplementationBlackMagic ? "BLACKMAGIC" : "UNKNOWN";
}

}  // namespace qvs

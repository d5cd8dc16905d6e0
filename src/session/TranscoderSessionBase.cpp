// What a session owns, and look-ups by index.
#include "session/TranscoderSessionBase.h"

#include "platform/Status.h"

namespace qvs {

namespace {

template <typename Item>
Item* at(std::vector<Item>& items, uint32_t index) {
  return index < items.size() ? &items[index] : nullptr;
}

template <typename Item>
const Item* at(const std::vector<Item>& items, uint32_t index) {
  return index < items.size() ? &items[index] : nullptr;
}

}  // namespace

TranscoderSessionBase::~TranscoderSessionBase() {
  finishVideoEncoders();
  releaseCardPictures();
  videoDecoder.reset();
  audioDecoder.reset();
  videoScaler.reset();
  videoEncoderBufferSets.clear();
  videoScalerBufferSets.clear();
  videoEncoders.clear();
  audioEncoders.clear();
}

uint32_t TranscoderSessionBase::fail(const char* label, const Failure& failure) {
  failures.tell(logCollector, label, failure);
  return kFailure;
}

void TranscoderSessionBase::finishVideoEncoders() {
  for (VideoEncoderWrapper& wrapper : videoEncoders) {
    if (wrapper.videoEncoder) wrapper.videoEncoder->finish();
  }
}

void TranscoderSessionBase::releaseCardPictures() {
  for (const auto& frame : videoDecoderBuffers) frame->releaseCardPicture();
  for (const VideoFrameBufferSetWrapper& wrapper : videoEncoderBufferSets) {
    for (const auto& frame : *wrapper.get()) frame->releaseCardPicture();
  }
}

IVideoEncoder* TranscoderSessionBase::getVideoEncoder(uint32_t indexEncoder) const {
  const VideoEncoderWrapper* wrapper = at(videoEncoders, indexEncoder);
  return wrapper != nullptr ? wrapper->videoEncoder.get() : nullptr;
}

IAudioEncoder* TranscoderSessionBase::getAudioEncoder(uint32_t indexEncoder) const {
  const AudioEncoderWrapper* wrapper = at(audioEncoders, indexEncoder);
  return wrapper != nullptr ? wrapper->audioEncoder.get() : nullptr;
}

StageRef<AudioEncoderWrapper> TranscoderSessionBase::renditionRef(uint32_t index) {
  return {at(audioEncoders, index), static_cast<int>(index)};
}

AudioSampleBuffer* TranscoderSessionBase::getAudioEncoderEncodeBuffer(uint32_t indexEncoder) const {
  const AudioEncoderWrapper* wrapper = at(audioEncoders, indexEncoder);
  return wrapper != nullptr ? wrapper->encodeAudioBuffer.get() : nullptr;
}

VideoFrameBuffer* TranscoderSessionBase::getVideoDecoderBuffer(uint32_t indexBuffer) {
  return videoDecoderBuffers.getVideoFrameBuffer(indexBuffer);
}

VideoFrameBufferSet* TranscoderSessionBase::getVideoEncoderBufferSet(uint32_t setIndex) const {
  const VideoFrameBufferSetWrapper* wrapper = at(videoEncoderBufferSets, setIndex);
  return wrapper != nullptr ? wrapper->get() : nullptr;
}

VideoFrameBuffer* TranscoderSessionBase::getVideoEncoderBuffer(uint32_t setIndex,
                                                               uint32_t indexBuffer) const {
  VideoFrameBufferSet* set = getVideoEncoderBufferSet(setIndex);
  return set != nullptr ? set->getVideoFrameBuffer(indexBuffer) : nullptr;
}

VideoOverlayFrames* TranscoderSessionBase::getVideoEncoderOverlayFrames(uint32_t setIndex) const {
  VideoFrameBufferSet* set = getVideoEncoderBufferSet(setIndex);
  return set != nullptr ? &set->getOverlayFrames() : nullptr;
}

}  // namespace qvs

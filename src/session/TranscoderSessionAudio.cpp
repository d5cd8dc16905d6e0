// The session's audio operations: decode, resample, hand over to renditions, encode.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "audio/AudioResampler.h"
#include "frames/AudioSampleBuffer.h"
#include "session/Forward.h"
#include "session/notify/TranscoderSessionNotifyManager.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

// Told on standard output too, for those who watch that.
uint32_t missingBlock(TranscoderSession& session, const char* label, uint32_t indexBuffer) {
  std::printf("%s: audioSampleBuffer missing\n", label);
  return session.fail(label, noAudioBuffer(indexBuffer));
}

std::unique_ptr<AudioSampleBuffer> deepCopy(const AudioSampleBuffer& block) {
  auto copy = std::make_unique<AudioSampleBuffer>();
  if (block.getBuffer() != nullptr) {
    if (copy->allocBuffer(block.getSampleCount(), block.getChannels(), block.getSampleRate()) != kSuccess) {
      throw std::bad_alloc();
    }
    std::memcpy(copy->getBuffer(), block.getBuffer(), std::min(block.getLen(), copy->getLen()));
  }
  copy->setLen(std::min(block.getLen(), copy->getLen()));
  copy->setSampleCount(block.getSampleCount());
  copy->setSampleIndex(block.getSampleIndex());
  copy->setChannels(block.getChannels());
  copy->setSampleRate(block.getSampleRate());
  copy->setFormat(block.getFormat());
  copy->setTimecode(block.getTimecode());
  return copy;
}

}  // namespace

uint32_t TranscoderSession::audioDecoderBuffersCreate(uint32_t count) {
  return guarded("TranscoderSession::audioDecoderBuffersCreate", [&]() -> uint32_t {
    if (count > kPoolFramesMax) {
      return fail("TranscoderSession::audioDecoderBuffersCreate",
                  poolTooLarge(kLogContextAudioDecoder, count));
    }
    audioDecoderBuffers.initialize(count);
    return kSuccess;
  });
}

uint32_t TranscoderSession::audioDecoderBuffersAllocate(uint32_t sampleCount, uint32_t channels,
                                                        uint32_t sampleRate) {
  return guarded("TranscoderSession::audioDecoderBuffersAllocate", [&]() -> uint32_t {
    uint32_t result = kSuccess;
    for (uint32_t index = 0; index < audioDecoderBuffers.size(); ++index) {
      AudioSampleBuffer* block = audioDecoderBuffers.getAudioSampleBuffer(index);
      if (block->allocBuffer(sampleCount, channels, sampleRate) == kSuccess) continue;
      result = fail("TranscoderSession::audioDecoderBuffersAllocate",
                    {.reason = "No memory for audio buffers of this many samples",
                     .context = kLogContextAudioDecoder,
                     .number = sampleCount});
    }
    return result;
  });
}

uint32_t TranscoderSession::audioDecoderSetCaptureDevice(int32_t deviceId) {
  return forward(*this, "TranscoderSession::audioDecoderSetCaptureDevice", audioDecoderRef(),
                 [&](auto& stage) { return stage.setCaptureDevice(deviceId); });
}

uint32_t TranscoderSession::audioDecoderInitialize() {
  return forward(*this, "TranscoderSession::audioDecoderInitialize", audioDecoderRef(),
                 [&](auto& stage) { return stage.initialize(); });
}

uint32_t TranscoderSession::audioDecoderGetSampleRate(uint32_t* sampleRate) {
  return forward(*this, "TranscoderSession::audioDecoderGetSampleRate", audioDecoderRef(),
                 [&](auto& stage) { *sampleRate = static_cast<uint32_t>(stage.getSampleRate()); });
}

uint32_t TranscoderSession::audioDecoderGetChannels(uint32_t* channels) {
  return forward(*this, "TranscoderSession::audioDecoderGetChannels", audioDecoderRef(),
                 [&](auto& stage) { *channels = stage.getChannels(); });
}

uint32_t TranscoderSession::audioDecoderDecodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return forward(*this, "TranscoderSession::audioDecoderDecodeCodecConfig", audioDecoderRef(),
                 [&](auto& stage) { return stage.decodeCodecConfig(buffer, offset, len); });
}

uint32_t TranscoderSession::audioDecoderIsFirstFrameDecoded() {
  return guarded("TranscoderSession::audioDecoderIsFirstFrameDecoded",
                 [&]() -> uint32_t { return audioDecoder ? audioDecoder->isFirstFrameDecoded() : 0; });
}

uint32_t TranscoderSession::audioDecoderDecodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return forward(*this, "TranscoderSession::audioDecoderDecodeFirstFrame", audioDecoderRef(),
                 [&](auto& stage) { return stage.decodeFirstFrame(buffer, offset, len); });
}

uint32_t TranscoderSession::audioDecoderDecodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len,
                                                    uint64_t timecode, uint32_t indexBuffer) {
  constexpr const char* kLabel = "TranscoderSession::audioDecoderDecodeFrame";
  return forward(*this, kLabel, audioDecoderRef(), [&](auto& stage) -> uint32_t {
    AudioSampleBuffer* block = audioDecoderBuffers.getAudioSampleBuffer(indexBuffer);
    if (block == nullptr) return missingBlock(*this, kLabel, indexBuffer);
    return stage.decodeFrame(buffer, offset, len, timecode, *block);
  });
}

uint32_t TranscoderSession::audioDecoderCaptureFrame(uint32_t indexBuffer, uint32_t* decodeStatus,
                                                     int64_t* timecode) {
  constexpr const char* kLabel = "TranscoderSession::audioDecoderCaptureFrame";
  return forward(*this, kLabel, audioDecoderRef(), [&](auto& stage) -> uint32_t {
    AudioSampleBuffer* block = audioDecoderBuffers.getAudioSampleBuffer(indexBuffer);
    if (block == nullptr) return missingBlock(*this, kLabel, indexBuffer);
    return stage.captureFrame(*block, decodeStatus, timecode);
  });
}

uint32_t TranscoderSession::audioDecoderResampleFrame(uint64_t, uint32_t indexBuffer) {
  constexpr const char* kLabel = "TranscoderSession::audioDecoderResampleFrame";
  return forward(*this, kLabel, audioDecoderRef(), [&](auto& stage) -> uint32_t {
    AudioSampleBuffer* block = audioDecoderBuffers.getAudioSampleBuffer(indexBuffer);
    if (block == nullptr) return missingBlock(*this, kLabel, indexBuffer);
    TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
    listeners.notifyAudioFrameDecodeListenersBeforeResample(getSessionId(), &stage, block);
    if (AudioResampler* resampler = stage.getAudioResampler()) resampler->resample(*block, *block);
    listeners.notifyAudioFrameDecodeListenersAfterResample(getSessionId(), &stage, block);
    return kSuccess;
  });
}

uint32_t TranscoderSession::audioDecoderResetDecodedFrameState() {
  return forward(*this, "TranscoderSession::audioDecoderResetDecodedFrameState", audioDecoderRef(),
                 [&](auto& stage) { stage.resetDecodedFrameState(); });
}

uint32_t TranscoderSession::audioEncoderSetSampleRate(uint32_t indexEncoder, uint32_t sampleRate) {
  return forward(*this, "TranscoderSession::audioEncoderSetSampleRate", audioEncoderRef(indexEncoder),
                 [&](auto& stage) { stage.setSampleRate(sampleRate); });
}

uint32_t TranscoderSession::audioEncoderSetChannels(uint32_t indexEncoder, uint32_t channels) {
  return forward(*this, "TranscoderSession::audioEncoderSetChannels", audioEncoderRef(indexEncoder),
                 [&](auto& stage) { stage.setChannels(channels); });
}

uint32_t TranscoderSession::audioEncoderSetQuality(uint32_t indexEncoder, double quality) {
  return forward(*this, "TranscoderSession::audioEncoderSetQuality", audioEncoderRef(indexEncoder),
                 [&](auto& stage) { stage.setQuality(quality); });
}

uint32_t TranscoderSession::audioEncoderSetBitrate(uint32_t indexEncoder, uint32_t bitrate) {
  return forward(*this, "TranscoderSession::audioEncoderSetBitrate", audioEncoderRef(indexEncoder),
                 [&](auto& stage) { stage.setBitrate(bitrate); });
}

uint32_t TranscoderSession::audioEncoderInitialize(uint32_t indexEncoder) {
  return forward(*this, "TranscoderSession::audioEncoderInitialize", audioEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.initialize(); });
}

uint32_t TranscoderSession::audioEncoderGetHeaders(uint32_t indexEncoder,
                                                   std::vector<AudioFrameEncoded>& frames) {
  return forward(*this, "TranscoderSession::audioEncoderGetHeaders", audioEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.getHeaders(frames); });
}

uint32_t TranscoderSession::audioEncoderEncodeBufferStart(uint32_t indexEncoder, uint32_t indexBuffer) {
  constexpr const char* kLabel = "TranscoderSession::audioEncoderEncodeBufferStart";
  return forward(*this, kLabel, renditionRef(indexEncoder), [&](AudioEncoderWrapper& rendition) -> uint32_t {
    const AudioSampleBuffer* block = audioDecoderBuffers.getAudioSampleBuffer(indexBuffer);
    if (block == nullptr) return fail(kLabel, noAudioBuffer(indexBuffer));
    rendition.encodeAudioBuffer = deepCopy(*block);
    return kSuccess;
  });
}

uint32_t TranscoderSession::audioEncoderResampleFrame(uint32_t indexEncoder, uint32_t) {
  return forward(*this, "TranscoderSession::audioEncoderResampleFrame", renditionRef(indexEncoder),
                 [&](AudioEncoderWrapper& rendition) -> Answer {
                   if (!rendition.encodeAudioBuffer) return {kSuccess};
                   IAudioEncoder* encoder = rendition.audioEncoder.get();
                   TranscoderSessionNotifyManager& listeners = *TranscoderSessionNotifyManager::getInstance();
                   listeners.notifyAudioFrameEncodeListenersBeforeResample(getSessionId(), encoder,
                                                                           rendition.encodeAudioBuffer.get());
                   const uint32_t result = resampleRendition(rendition);
                   listeners.notifyAudioFrameEncodeListenersAfterResample(getSessionId(), encoder,
                                                                          rendition.encodeAudioBuffer.get());
                   // -1 where no resampler was added: so it is meant, and told to nobody.
                   return {result};
                 });
}

uint32_t TranscoderSession::resampleRendition(AudioEncoderWrapper& rendition) {
  AudioResampler* resampler = rendition.audioEncoder->getAudioResampler();
  if (resampler == nullptr) return kFailure;
  auto resampled = std::make_unique<AudioSampleBuffer>();
  resampled->setSampleCount(0);
  resampler->resample(*rendition.encodeAudioBuffer, *resampled);
  rendition.encodeAudioBuffer = std::move(resampled);
  return kSuccess;
}

uint32_t TranscoderSession::audioEncoderAddSampleBuffer(uint32_t indexEncoder, uint32_t,
                                                        EncodedAudioUnits& frames) {
  constexpr const char* kLabel = "TranscoderSession::audioEncoderAddSampleBuffer";
  return forward(*this, kLabel, renditionRef(indexEncoder), [&](AudioEncoderWrapper& rendition) -> uint32_t {
    if (!rendition.encodeAudioBuffer) {
      return fail(kLabel, {.reason = "No buffer was started for this encoder",
                           .context = kLogContextAudioEncoder,
                           .index = static_cast<int>(indexEncoder)});
    }
    // The encoder owns the block once the call has returned; after an exception it stays here.
    const uint32_t result =
        rendition.audioEncoder->addSampleBuffer(rendition.encodeAudioBuffer.get(), frames.list());
    static_cast<void>(rendition.encodeAudioBuffer.release());
    return result;
  });
}

uint32_t TranscoderSession::audioEncoderEncodeBufferDone(uint32_t indexEncoder, uint32_t) {
  return forward(*this, "TranscoderSession::audioEncoderEncodeBufferDone", renditionRef(indexEncoder),
                 [](AudioEncoderWrapper& rendition) { rendition.encodeAudioBuffer.reset(); });
}

}  // namespace qvs

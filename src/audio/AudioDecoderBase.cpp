#include "audio/AudioDecoderBase.h"

#include "frames/AudioSampleBuffer.h"
#include "log/LogGlobalLogger.h"

namespace qvs {

void AudioDecoderBase::resetDecodedFrameState() {
  decodedSampleRate = 0;
  decodedChannels = 0;
  decodedSampleCount = 0;
  decodedSampleSize = 0;
  decodedTimecode = 0;
}

uint32_t AudioDecoderBase::setCaptureDevice(int32_t deviceId) {
  captureDeviceId = deviceId;
  return 0;
}

ILogger* AudioDecoderBase::getLogger() const {
  return loggerOrGlobal(logger);
}

void AudioDecoderBase::warn(const std::string& text) const {
  getLogger()->warn(kLogContextAudioDecoder, 0, text);
}

uint64_t AudioDecoderBase::getTimecodeScaled(uint64_t lastTimecode, uint32_t lastCount,
                                             uint64_t timecodeMs) const {
  const uint64_t rate = decodedSampleRate;
  const uint64_t scaled = (rate * timecodeMs * 10 + 5) / 10000;
  if (lastTimecode == ~uint64_t{0} || rate == 0) return scaled;
  const uint64_t next = lastTimecode + lastCount;
  const uint64_t nextMs = ((next * 10000 + 5) / rate) / 10;
  // Unsigned on purpose: at 0 ms the lower bound wraps, and the count always starts anew there.
  if (nextMs < timecodeMs - 1 || nextMs > timecodeMs + 1) return scaled;
  return next;
}

void AudioDecoderBase::finishBlock(AudioSampleBuffer& out, uint32_t sampleCount, uint64_t timecodeMs) {
  const uint64_t timecode = getTimecodeScaled(lastTimecodeScaled, lastSampleCount, timecodeMs);
  lastTimecodeScaled = timecode;
  lastSampleCount = sampleCount;
  ++framesDecoded;
  decodedSampleCount = sampleCount;
  decodedSampleSize = decodedChannels * sampleCount * 2;
  decodedTimecode = timecode;
  out.setSampleCount(sampleCount);
  out.setTimecode(timecode);
  out.setSampleRate(decodedSampleRate);
  out.setChannels(decodedChannels);
}

}  // namespace qvs

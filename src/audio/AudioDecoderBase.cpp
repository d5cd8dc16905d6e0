// What all audio decoders share: the running timecode, the block's format, room in the output.
#include "audio/AudioDecoderBase.h"

#include <cstring>
#include <utility>

#include "frames/AudioSampleBuffer.h"
#include "log/LogGlobalLogger.h"
#include "platform/Status.h"

namespace qvs {

namespace {

constexpr uint64_t kBytesPerSample = 2;
constexpr uint64_t kLargestGrownBlock = 16u << 20;  ///< bytes; hostile packets announce any length

}  // namespace

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

uint64_t AudioDecoderBase::followingMs(uint32_t rate) const {
  if (lastTimecodeScaled == ~uint64_t{0} || rate == 0) return 0;
  return ((lastTimecodeScaled + lastSampleCount) * 10000 + 5) / rate / 10;
}

void AudioDecoderBase::setFormat(uint32_t sampleRate, uint32_t channels) {
  // The running count is in samples of one rate.
  if (sampleRate != streamSampleRate) lastTimecodeScaled = ~uint64_t{0};
  streamSampleRate = decodedSampleRate = sampleRate;
  streamChannels = decodedChannels = channels;
}

void AudioDecoderBase::restoreFormat() {
  decodedSampleRate = streamSampleRate;
  decodedChannels = streamChannels;
}

bool AudioDecoderBase::makeRoom(AudioSampleBuffer& out, uint64_t sampleCount, uint32_t channels) {
  // Neither factor is trusted: the product is taken only where it can't wrap.
  if (channels != 0 && sampleCount > ~uint64_t{0} / kBytesPerSample / channels) return false;
  const uint64_t needed = sampleCount * channels * kBytesPerSample;
  const uint64_t held = out.getBuffer() != nullptr ? out.getLen() : 0;
  if (needed <= held) return true;
  if (needed > kLargestGrownBlock) return false;
  AudioSampleBuffer larger;
  if (larger.allocBuffer(static_cast<uint32_t>(sampleCount), channels, out.getSampleRate()) != kSuccess) {
    return false;
  }
  if (held != 0) std::memcpy(larger.getBuffer(), out.getBuffer(), held);
  larger.setSampleIndex(out.getSampleIndex());
  larger.setFormat(out.getFormat());
  larger.setTimecode(out.getTimecode());
  out = std::move(larger);
  return true;
}

uint32_t AudioDecoderBase::emptyBlock(AudioSampleBuffer& out) {
  out.setSampleCount(0);
  return kSuccess;
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

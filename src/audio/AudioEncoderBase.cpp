// What all audio encoders share: the wanted format, log context, refusals of blocks that don't fit.
#include "audio/AudioEncoderBase.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

#include "frames/AudioSampleBuffer.h"
#include "log/LogGlobalLogger.h"

namespace qvs {

namespace {
constexpr uint32_t kBytesPerSample = 2;
}

ILogger* AudioEncoderBase::getLogger() const {
  return loggerOrGlobal(logger);
}

void AudioEncoderBase::info(const std::string& text) const {
  getLogger()->info(kLogContextAudioEncoder, static_cast<int>(sessionIndex), text);
}

void AudioEncoderBase::warn(const std::string& text) const {
  getLogger()->warn(kLogContextAudioEncoder, static_cast<int>(sessionIndex), text);
}

void AudioEncoderBase::error(const std::string& text) const {
  getLogger()->error(kLogContextAudioEncoder, static_cast<int>(sessionIndex), text);
}

uint32_t AudioEncoderBase::copyChannels(const uint8_t* src, uint8_t* dst, uint32_t channelCopy,
                                        uint32_t sampleCount, uint32_t channels, uint32_t bytesPerSample) {
  constexpr size_t kPair = size_t{2} * kBytesPerSample;
  if (channels != 2 || bytesPerSample != kBytesPerSample) return 0;
  if (channelCopy != 1) src += kBytesPerSample;
  for (uint32_t i = 0; i < sampleCount; ++i, src += kPair, dst += kPair) {
    std::memcpy(dst, src, kBytesPerSample);
    std::memcpy(dst + kBytesPerSample, src, kBytesPerSample);
  }
  return 0;
}

uint32_t AudioEncoderBase::countSamples(AudioSampleBuffer& block) {
  const uint64_t sampleBytes = uint64_t{block.getChannels()} * kBytesPerSample;
  const bool holdsSamples = block.getBuffer() != nullptr && sampleBytes != 0;
  const uint64_t held = holdsSamples ? block.getLen() / sampleBytes : 0;
  block.setSampleCount(static_cast<uint32_t>(std::min<uint64_t>(block.getSampleCount(), held)));
  block.setSampleIndex(std::min(block.getSampleIndex(), block.getSampleCount()));
  return block.getSampleCount() - block.getSampleIndex();
}

bool AudioEncoderBase::fits(const char* label, const AudioSampleBuffer& block, uint32_t wantedChannels,
                            uint32_t wantedRate) {
  const uint32_t rate = block.getSampleRate();
  const bool channelsFit = wantedChannels == 0 || block.getChannels() == wantedChannels;
  const bool fitting = channelsFit && (rate == 0 || rate == wantedRate);
  if (!fitting && !misfitReported) {
    const std::string wanted = wantedChannels != 0 ? fmt::format("channels:{} ", wantedChannels) : "";
    warn(fmt::format(
        "{}[{{context}}]: Block dropped: channels:{} sampleRate:{}; the encoder takes {}sampleRate:{}", label,
        block.getChannels(), rate, wanted, wantedRate));
  }
  misfitReported = !fitting;
  return fitting;
}

}  // namespace qvs

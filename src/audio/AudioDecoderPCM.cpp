// Audio that a caller has decoded itself, taken in as blocks like that of any codec.
#include "audio/AudioDecoderPCM.h"

#include <fmt/format.h>

#include <cstring>

#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kConfigSize = 8;
constexpr uint32_t kChannelsAt = 4;
constexpr uint32_t kRateMost = 768000;
constexpr uint32_t kChannelsMost = 16;  ///< as many as the converter behind the resampler takes
constexpr uint32_t kBytesPerSample = 2;

uint32_t littleEndian(const uint8_t* bytes) {
  return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

}  // namespace

AudioDecoderPCM::AudioDecoderPCM() {
  codec = kAudioCodecPCM;
}

uint32_t AudioDecoderPCM::close() {
  configured = false;
  return kSuccess;
}

uint32_t AudioDecoderPCM::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("AudioDecoderPCM::decodeCodecConfig", [&]() -> uint32_t {
    if (buffer == nullptr || len != kConfigSize) {
      warn(
          fmt::format("AudioDecoderPCM.decodeCodecConfig[{{context}}]: Configuration must have {} bytes: "
                      "len:{}",
                      kConfigSize, len));
      return kFailure;
    }
    const uint32_t sampleRate = littleEndian(buffer + offset);
    const uint32_t channels = littleEndian(buffer + offset + kChannelsAt);
    if (sampleRate == 0 || sampleRate > kRateMost || channels == 0 || channels > kChannelsMost) {
      warn(
          fmt::format("AudioDecoderPCM.decodeCodecConfig[{{context}}]: Invalid format: sampleRate:{} "
                      "channels:{}",
                      sampleRate, channels));
      return kFailure;
    }
    setFormat(sampleRate, channels);
    configured = true;
    return kSuccess;
  });
}

uint32_t AudioDecoderPCM::decodeFirstFrame(uint8_t*, uint32_t, uint32_t) {
  return guarded("AudioDecoderPCM::decodeFirstFrame", [&]() -> uint32_t {
    if (!configured) {
      warn("AudioDecoderPCM.decodeFirstFrame[{context}]: No audio before a codec configuration");
      return kFailure;
    }
    restoreFormat();
    firstFrameDecoded = 1;
    return kSuccess;
  });
}

uint32_t AudioDecoderPCM::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                      AudioSampleBuffer& out) {
  return guarded("AudioDecoderPCM::decodeFrame", [&]() -> uint32_t {
    if (!configured) {
      warn("AudioDecoderPCM.decodeFrame[{context}]: No audio before a codec configuration");
      return kFailure;
    }
    if (buffer == nullptr || len == 0) return emptyBlock(out);
    restoreFormat();
    const uint32_t frameBytes = decodedChannels * kBytesPerSample;
    const uint32_t sampleCount = len / frameBytes;
    if (const uint32_t rest = len % frameBytes) {
      warn(
          fmt::format("AudioDecoderPCM.decodeFrame[{{context}}]: {} bytes are no whole sample of {} "
                      "channels: len:{}",
                      rest, decodedChannels, len));
    }
    if (sampleCount == 0) return emptyBlock(out);
    if (!makeRoom(out, sampleCount, decodedChannels)) {
      warn(fmt::format("AudioDecoderPCM.decodeFrame[{{context}}]: No room for the block: len:{}", len));
      return kFailure;
    }
    std::memcpy(out.getBuffer(), buffer + offset, size_t{sampleCount} * frameBytes);
    finishBlock(out, sampleCount, timecode);
    return kSuccess;
  });
}

}  // namespace qvs

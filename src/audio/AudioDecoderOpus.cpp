// Opus in by libopus: the OpusHead record with its rate and gain, then packets to blocks.
#include "audio/AudioDecoderOpus.h"

#include <fmt/format.h>

#include <cstring>
#include <limits>

#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr char kHeadMark[] = "OpusHead";
constexpr uint32_t kHeadSizeLeast = 17;
constexpr uint32_t kChannelsAt = 9;
constexpr uint32_t kRateAt = 12;
constexpr uint32_t kGainAt = 16;
constexpr uint32_t kFamilyAt = 18;
constexpr uint32_t kStreamsAt = 19;
constexpr uint32_t kCoupledAt = 20;
constexpr uint32_t kMappingAt = 21;
constexpr uint32_t kChannelsMost = 2;
constexpr uint32_t kFullRate = 48000;

/// The rates that libopus decodes to; any stream can be decoded at each of them.
uint32_t decodeRateFor(uint32_t sampleRate) {
  for (const uint32_t rate : {8000u, 12000u, 16000u, 24000u}) {
    if (rate == sampleRate) return rate;
  }
  return kFullRate;
}

/// Whether packets hold one stream, its channels in place. Those of mapping family 0 do; other families tell.
bool isOneStream(const uint8_t* head, uint32_t len, uint32_t channels) {
  if (len <= kFamilyAt || head[kFamilyAt] == 0) return true;
  if (len < kMappingAt + channels || head[kStreamsAt] != 1 || head[kCoupledAt] != channels - 1) return false;
  return head[kMappingAt] == 0 && (channels == 1 || head[kMappingAt + 1] == 1);
}

}  // namespace

AudioDecoderOpus::AudioDecoderOpus() : lock(ConcurrentLockFactory::newConcurrentLock()) {
  codec = kAudioCodecOpus;
}

AudioDecoderOpus::~AudioDecoderOpus() {
  AudioDecoderOpus::close();
}

uint32_t AudioDecoderOpus::close() {
  return guarded("AudioDecoderOpus::close", [&]() -> uint32_t {
    const ScopedLock scope(*lock);
    decoder.reset();
    return kSuccess;
  });
}

uint32_t AudioDecoderOpus::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("AudioDecoderOpus::decodeCodecConfig", [&]() -> uint32_t {
    const uint8_t* bytes = buffer + offset;
    if (buffer == nullptr || len < kHeadSizeLeast ||
        std::memcmp(bytes, kHeadMark, sizeof kHeadMark - 1) != 0) {
      warn(fmt::format("AudioDecoderOpus::decodeCodecConfig[{{context}}]: OpusHead is missing: len:{}", len));
      return kFailure;
    }
    const uint32_t channels = bytes[kChannelsAt];
    if (channels == 0 || channels > kChannelsMost) {
      warn(fmt::format(
          "AudioDecoderOpus::decodeCodecConfig[{{context}}]: Invalid number of channels{}: channels:{}",
          channels == 0 ? "" : " (>2)", channels));
      return kFailure;
    }
    if (!isOneStream(bytes, len, channels)) {
      warn(
          fmt::format("AudioDecoderOpus::decodeCodecConfig[{{context}}]: Channel mapping is not supported: "
                      "family:{} channels:{}",
                      bytes[kFamilyAt], channels));
      return kFailure;
    }
    head.channels = channels;
    head.sampleRate = bytes[kRateAt] | uint32_t{bytes[kRateAt + 1]} << 8 |
                      uint32_t{bytes[kRateAt + 2]} << 16 | uint32_t{bytes[kRateAt + 3]} << 24;
    head.gain = len > kGainAt + 1 ? static_cast<int16_t>(bytes[kGainAt] | bytes[kGainAt + 1] << 8) : 0;
    decodedSampleRate = head.sampleRate;
    decodedChannels = head.channels;
    return firstFrameDecoded != 0 ? openDecoder() : kSuccess;
  });
}

uint32_t AudioDecoderOpus::decodeFirstFrame(uint8_t*, uint32_t, uint32_t) {
  return guarded("AudioDecoderOpus::decodeFirstFrame", [&]() -> uint32_t {
    firstFrameDecoded = 1;
    // The packet itself tells nothing: many streams begin with one of silence, no longer than 3 bytes.
    if (head.channels != 0) return openDecoder();
    warn("AudioDecoderOpus::decodeFirstFrame[{context}]: No audio before a codec configuration");
    return kSuccess;
  });
}

/// A decoder for `head`; one that serves it already goes on with its state.
uint32_t AudioDecoderOpus::openDecoder() {
  const ScopedLock scope(*lock);
  const Head wanted{decodeRateFor(head.sampleRate), head.channels, head.gain};
  if (!decoder || wanted.sampleRate != opened.sampleRate || wanted.channels != opened.channels) {
    int err = OPUS_OK;
    OpusDecoder* created = opus_decoder_create(static_cast<opus_int32>(wanted.sampleRate),
                                               static_cast<int>(wanted.channels), &err);
    if (created == nullptr) {
      warn(fmt::format("AudioDecoderOpus::decodeFirstFrame[{{context}}]: Error initializing decoder: err:{}",
                       err));
      return kFailure;
    }
    decoder.reset(created);
  }
  opened = wanted;
  opus_decoder_ctl(decoder.get(), OPUS_SET_GAIN(opened.gain));
  setFormat(opened.sampleRate, opened.channels);
  return kSuccess;
}

uint32_t AudioDecoderOpus::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                       AudioSampleBuffer& out) {
  return guarded("AudioDecoderOpus::decodeFrame", [&]() -> uint32_t {
    const ScopedLock scope(*lock);
    if (!decoder || buffer == nullptr || len == 0 || len > uint32_t{std::numeric_limits<opus_int32>::max()}) {
      return emptyBlock(out);
    }
    restoreFormat();
    const uint8_t* packet = buffer + offset;
    const auto packetLen = static_cast<opus_int32>(len);
    const int announced = opus_decoder_get_nb_samples(decoder.get(), packet, packetLen);
    if (announced < 1) return emptyBlock(out);
    if (!makeRoom(out, static_cast<uint32_t>(announced), opened.channels)) return kFailure;
    auto* samples = reinterpret_cast<opus_int16*>(out.getBuffer());
    const int decoded = opus_decode(decoder.get(), packet, packetLen, samples, announced, 0);
    if (decoded < 1) return emptyBlock(out);
    finishBlock(out, static_cast<uint32_t>(decoded), timecode);
    return kSuccess;
  });
}

}  // namespace qvs

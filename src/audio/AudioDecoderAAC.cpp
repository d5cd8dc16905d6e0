// AAC in: configuration record or bare frames, each given an ADTS header for the codec library.
#include "audio/AudioDecoderAAC.h"

#include <fmt/format.h>
#include <mc_dec_aac.h>

#include <cstring>
#include <utility>

#include "audio/AACChannelLayout.h"
#include "audio/AACUtils.h"
#include "bufstream/MainConceptCallbacks.h"
#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kAacLC = 2;
constexpr uint32_t kAacLTP = 4;
constexpr uint32_t kSBR = 5;
constexpr uint32_t kPS = 29;
constexpr uint32_t kHeaderChannelConfigs = 8;

/// The two bits of the header name types 1 to 4. Frames of the HE types are LC frames with more in them, at
/// the rate and channels of their core, which is what the configuration's first fields give.
uint32_t headerObjectTypeOf(uint32_t objectType) {
  if (objectType == kSBR || objectType == kPS) return kAacLC;
  return objectType <= kAacLTP ? objectType : 0;
}

}  // namespace

AudioDecoderAAC::AudioDecoderAAC() : AudioDecoderBufferStream("AudioDecoderAAC") {
  codec = kAudioCodecAAC;
  AudioDecoderAAC::setDecodeParameters(-1, -1, ~0u);
}

uint32_t AudioDecoderAAC::setDecodeParameters(int32_t sampleRate, int32_t channels, uint32_t format) {
  std::memset(&aacConfig, 0xFF, sizeof aacConfig);
  aacConfig.num_channels = wantsStereo() ? 2 : static_cast<uint32_t>(channels);
  aacConfig.sampling_rate = static_cast<uint32_t>(sampleRate);
  aacConfig.output_format = format;
  aacConfig.bitstream_format = 0;
  return kSuccess;
}

uint32_t AudioDecoderAAC::initialize() {
  return guarded("AudioDecoderAAC::initialize", [&]() -> uint32_t {
    close();
    init_callbacks(callbacks);
    timecodeDelay[0] = timecodeDelay[1] = {};
    return decoder.open(createDecoderAAC(&callbacks, 0, 0)) ? kSuccess
                                                            : fail("initialize", "Error opening decoder");
  });
}

uint32_t AudioDecoderAAC::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("AudioDecoderAAC::decodeCodecConfig", [&]() -> uint32_t {
    constexpr uint8_t kFrameOf960 = 4;
    if (!AACUtils::decodeCodecConfig(buffer, offset, len, aacOT, aacSR, headerChannelConfig)) {
      return fail("decodeCodecConfig", "Not enough data to decode");
    }
    aacCH = wantsStereo() ? 2 : headerChannelConfig;
    headerObjectType = headerObjectTypeOf(aacOT);
    const bool isPlain = headerObjectType == aacOT;  // the fields that follow stand where these are read
    layoutElement.clear();
    if (isPlain && headerChannelConfig == 0) {
      layoutElement = AACChannelLayout::elementOf({buffer + offset, len});
    }
    const bool isNamed = getSampleRate() != 0 && headerChannelConfig < kHeaderChannelConfigs;
    if (!isNamed || (isPlain && (buffer[size_t{offset} + 1] & kFrameOf960) != 0)) headerObjectType = 0;
    if (headerObjectType == 0) {
      warn(
          fmt::format("AudioDecoderAAC.decodeCodecConfig[{{context}}]: Configuration is not supported: "
                      "objectType:{} rateIndex:{} channelConfig:{}",
                      aacOT, aacSR, headerChannelConfig));
    }
    return kSuccess;
  });
}

uint32_t AudioDecoderAAC::getDecodeFrameHeaderSize() {
  return AACUtils::kADTSHeaderSize;
}

uint32_t AudioDecoderAAC::getChannels() {
  return AACUtils::channelsOf(aacCH);
}

int32_t AudioDecoderAAC::getSampleRate() {
  return static_cast<int32_t>(AACUtils::sampleRateOf(aacSR));
}

/// The caller's bytes as a frame that the library knows; empty where that can't be.
std::span<uint8_t> AudioDecoderAAC::frameOf(uint8_t* buffer, uint32_t offset, uint32_t len) {
  if (buffer == nullptr || len <= AACUtils::kADTSHeaderSize) return {};
  if (headerObjectType == 0) return {};
  const size_t size = size_t{len} + layoutElement.size();
  if (size > AACUtils::kMaxADTSFrame) return {};
  uint8_t* header = buffer + offset;
  AACUtils::encodeDTSHeader(header, 0, headerObjectType, aacSR, headerChannelConfig, 1,
                            static_cast<uint32_t>(size));
  if (layoutElement.empty()) return {header, len};
  uint8_t* data = header + AACUtils::kADTSHeaderSize;
  layoutFrame.assign(header, data);
  layoutFrame.insert(layoutFrame.end(), layoutElement.begin(), layoutElement.end());
  layoutFrame.insert(layoutFrame.end(), data, header + len);
  return layoutFrame;
}

uint32_t AudioDecoderAAC::decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("AudioDecoderAAC::decodeFirstFrame", [&]() -> uint32_t {
    if (!decoder) return kFailure;
    const std::span<uint8_t> frame = frameOf(buffer, offset, len);
    decoder.send(PARSE_AUD_HDR);
    if (decoder.feed(frame.data(), static_cast<uint32_t>(frame.size())) == 0) {
      return fail("decodeFirstFrame", "Decode failed");
    }
    if (decoder.send(INIT_FRAME_PARSER, 0, &aacConfig, sizeof aacConfig) != 0) {
      return fail("decodeFirstFrame", "Initialize failed");
    }
    firstFrameDecoded = 1;
    return kSuccess;
  });
}

uint32_t AudioDecoderAAC::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                      AudioSampleBuffer& out) {
  return guarded("AudioDecoderAAC::decodeFrame", [&]() -> uint32_t {
    if (!decoder) return kFailure;
    const std::span<uint8_t> frame = frameOf(buffer, offset, len);
    if (frame.empty()) return fail("decodeFrame", "Decode failed", out);
    announceTarget();
    // All ones stand for no frame here: such a time is unknown, and the block goes on behind the last.
    const bool isKnown = timecode != AudioDecoderAACDelayInfo::kNone;
    timecodeDelay[1] =
        std::exchange(timecodeDelay[0], {isKnown ? timecode : followingMs(timecodeSampleRate), 0, 0});
    return decodeBytes(frame, out);
  });
}

uint32_t AudioDecoderAAC::decodeBytes(std::span<uint8_t> bytes, AudioSampleBuffer& out) {
  parseState = 0;
  for (uint32_t taken = 1; taken != 0 && !bytes.empty() && (parseState & PARSE_DONE_FLAG) == 0;) {
    taken = feed(bytes, out, 0);
    bytes = bytes.subspan(taken);
    noteHeader();
    if ((parseState & (PARSE_ERR_FLAG | AUD_NO_ROOM_FLAG)) != 0) {
      forgetFrame();
      return fail("decodeFrame", "Decode failed", out);
    }
    if (dst_bfr.bfr_size != 0 && timecodeDelay[0].timecode != AudioDecoderAACDelayInfo::kNone) {
      return finish(out);
    }
  }
  // A frame that is done without a block is gone; one that isn't waits in the library.
  if ((parseState & PARSE_DONE_FLAG) != 0) forgetFrame();
  markEmpty(out);
  return kSuccess;
}

void AudioDecoderAAC::noteHeader() {
  const mc_aud_frame_hdr_t* header = frameHeader();
  if (header == nullptr) return;
  timecodeDelay[0].sampleRate = header->sample_rate;
  timecodeDelay[0].channels = wantsStereo() && header->channels == 1 ? 2 : header->channels;
  if (decodedSampleRate == 0) decodedSampleRate = timecodeDelay[0].sampleRate;
  if (decodedChannels == 0) decodedChannels = timecodeDelay[0].channels;
}

// Its timecode must not wait for a block that will never come: all later ones would lag behind by a frame.
void AudioDecoderAAC::forgetFrame() {
  timecodeDelay[0] = std::exchange(timecodeDelay[1], {});
}

AudioDecoderAACDelayInfo AudioDecoderAAC::takeDelayed() {
  // Before the first block there is nothing to change.
  const bool formatChanges = timecodeSampleRate != 0 && (timecodeDelay[0].sampleRate != timecodeSampleRate ||
                                                         timecodeDelay[0].channels != timecodeChannels);
  if (formatChanges) timecodeDelay[1].timecode = AudioDecoderAACDelayInfo::kNone;
  const bool isLate = timecodeDelay[1].timecode != AudioDecoderAACDelayInfo::kNone;
  AudioDecoderAACDelayInfo& used = timecodeDelay[isLate ? 1 : 0];
  AudioDecoderAACDelayInfo taken = used;
  used.timecode = AudioDecoderAACDelayInfo::kNone;
  if (taken.channels != 0) return taken;
  // Its frame went in before the library knew the format.
  taken.sampleRate = timecodeDelay[0].sampleRate;
  taken.channels = timecodeDelay[0].channels;
  return taken;
}

uint32_t AudioDecoderAAC::finish(AudioSampleBuffer& out) {
  const mc_aud_frame_hdr_t* header = frameHeader();
  if (header == nullptr || scaleBlock(*header, out, 0) == 0) {
    forgetFrame();
    return fail("decodeFrame", "Decode failed", out);
  }
  const AudioDecoderAACDelayInfo block = takeDelayed();
  // The running count is in samples of one rate.
  if (block.sampleRate != timecodeSampleRate) lastTimecodeScaled = ~uint64_t{0};
  decodedSampleRate = timecodeSampleRate = block.sampleRate;
  decodedChannels = timecodeChannels = block.channels;
  finishBlock(out, dst_bfr.bfr_size / (block.channels * 2), block.timecode);
  return kSuccess;
}

}  // namespace qvs

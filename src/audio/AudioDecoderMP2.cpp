// MPEG audio layers I to III in: frames gathered to blocks, format read from the first header.
#include "audio/AudioDecoderMP2.h"

#include <fmt/format.h>
#include <mc_dec_mpa.h>

#include <cstring>
#include <utility>

#include "bufstream/MainConceptCallbacks.h"
#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "log/ILogger.h"
#include "platform/Guard.h"

namespace qvs {

AudioDecoderMP2::AudioDecoderMP2() : AudioDecoderBufferStream("AudioDecoderMP2") {
  codec = kAudioCodecMPEG;
  std::memset(&mpa_config, 0xFF, sizeof mpa_config);
}

uint32_t AudioDecoderMP2::setDecodeParameters(int32_t, int32_t, uint32_t format) {
  mpa_config.output_format = format;
  return kSuccess;
}

uint32_t AudioDecoderMP2::initialize() {
  return guarded("AudioDecoderMP2::initialize", [&]() -> uint32_t {
    close();
    init_callbacks(callbacks);
    lastTimecode = ~uint64_t{0};
    frameBegun = targetAnnounced = false;
    if (!decoder.open(createDecoderMpegAudio(&callbacks, 0, 0)))
      return fail("initialize", "Error opening decoder");
    decoder.send(PARSE_INIT, 0, &mpa_config, sizeof mpa_config);
    return kSuccess;
  });
}

/// Format from a frame's header as it stands at the front of the bytes.
void AudioDecoderMP2::readFormat(const uint8_t* bytes) {
  constexpr uint32_t kBadVersion = 1;
  constexpr uint32_t kRows[] = {2, 0, 0, 1};
  const uint32_t version = bytes[1] >> 3 & 3;
  if (version == kBadVersion) {
    warn(fmt::format("AudioDecoderMP2.decodeFirstFrame[{{context}}]: Bad MP2 Audio version: {}", version));
  } else {
    decodedSampleRate = MP2_SAMPLERATES[kRows[version]][bytes[2] >> 2 & 3];
  }
  decodedChannels = bytes[3] >> 6 == 3 && !wantsStereo() ? 1 : 2;
}

void AudioDecoderMP2::takeFormat(const mc_aud_frame_hdr_t& header) {
  decodedSampleRate = header.sample_rate;
  decodedChannels = wantsStereo() ? 2 : header.channels;
}

uint32_t AudioDecoderMP2::decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) {
  constexpr const char* kMethod = "decodeFirstFrame";
  return guarded("AudioDecoderMP2::decodeFirstFrame", [&]() -> uint32_t {
    if (!decoder) return fail(kMethod, "Decoder nullptr");
    if (buffer == nullptr || len <= 3) return fail(kMethod, "Not enough data to decode");
    readFormat(buffer + offset);
    decoder.send(PARSE_AUD_HDR);
    const uint32_t taken = decoder.feed(buffer + offset, len);
    const bool isDone = taken > 0 && (decoder.send(GET_PARSE_STATE) & PARSE_DONE_FLAG) != 0;
    const mc_aud_frame_hdr_t* header = isDone ? frameHeader() : nullptr;
    if (header == nullptr) return fail(kMethod, "Decode failed");
    takeFormat(*header);
    getLogger()->info(
        kLogContextAudioDecoder, 0,
        fmt::format("AudioDecoderMP2.decodeFirstFrame[{{context}}]: sampleRate:{} channels:{} bitRate:{} "
                    "version:{} layer:{}",
                    header->sample_rate, header->channels, header->bit_rate, header->version, header->layer));
    if (decoder.send(INIT_FRAME_PARSER) != 0) return fail(kMethod, "Initialize failed");
    firstFrameDecoded = 1;
    return kSuccess;
  });
}

uint32_t AudioDecoderMP2::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                      AudioSampleBuffer& out) {
  return guarded("AudioDecoderMP2::decodeFrame", [&]() -> uint32_t {
    if (!decoder) return fail("decodeFrame", "Decoder nullptr", out);
    if (buffer == nullptr || len == 0) return fail("decodeFrame", "Decode failed", out);
    if (!std::exchange(targetAnnounced, true)) announceTarget();
    const bool wasBegun = frameBegun;
    const uint32_t bytes = gatherBlock({buffer + offset, len}, out);
    if (bytes > 0) {
      if (decodedSampleRate != countedSampleRate) lastTimecodeScaled = ~uint64_t{0};
      countedSampleRate = decodedSampleRate;
      finishBlock(out, bytes / (decodedChannels * 2), blockTimecode(timecode, wasBegun));
    }
    lastTimecode = timecode;
    if (bytes > 0) return kSuccess;
    markEmpty(out);
    const bool failed = (parseState & (PARSE_ERR_FLAG | AUD_NO_ROOM_FLAG)) != 0;
    return failed ? fail("decodeFrame", "Decode failed") : kSuccess;
  });
}

/// Decodes frame after frame into one block; answers its bytes.
uint32_t AudioDecoderMP2::gatherBlock(std::span<uint8_t> bytes, AudioSampleBuffer& out) {
  uint32_t position = 0;
  while (!bytes.empty()) {
    const uint32_t taken = feed(bytes, out, position);
    bytes = bytes.subspan(taken);
    frameBegun = taken > 0 && parseState == 0;
    if ((parseState & (PARSE_ERR_FLAG | AUD_NO_ROOM_FLAG)) != 0 || taken == 0) break;
    if ((parseState & PARSE_DONE_FLAG) == 0 || dst_bfr.bfr_size == 0) continue;
    const uint32_t added = addFrame(out, position);
    if (added == 0) break;
    position += added;
  }
  return position;
}

/// Enters the frame just decoded at `position`; answers its bytes, 0 where it can't be part of the block.
uint32_t AudioDecoderMP2::addFrame(AudioSampleBuffer& out, uint32_t position) {
  const mc_aud_frame_hdr_t* header = frameHeader();
  if (header == nullptr) return 0;
  const uint32_t channels = scaleBlock(*header, out, position);
  const bool formatChanges = header->sample_rate != decodedSampleRate || channels != decodedChannels;
  if (channels == 0 || (position > 0 && formatChanges)) {
    // A block has one rate and one layout.
    fail("decodeFrame", "Format changes within a packet");
    return 0;
  }
  decodedSampleRate = header->sample_rate;
  decodedChannels = channels;
  return dst_bfr.bfr_size;
}

/// Milliseconds at which a block begins that came with `timecode`. A packet's timecode is that of the first
/// frame that begins in it: a block whose first frame began earlier, or which shares its packet's timecode
/// with the last, goes on where the last one ended.
uint64_t AudioDecoderMP2::blockTimecode(uint64_t timecode, bool frameWasBegun) const {
  constexpr uint64_t kLongestFrameMs = 145;  ///< 1152 samples at 8000 Hz, and rounding
  if (lastTimecodeScaled == ~uint64_t{0}) return frameWasBegun ? lastTimecode : timecode;
  const uint64_t nextMs = followingMs(decodedSampleRate);
  const bool isNear = timecode >= nextMs && timecode - nextMs <= kLongestFrameMs;
  return timecode == lastTimecode || (frameWasBegun && isNear) ? nextMs : timecode;
}

}  // namespace qvs

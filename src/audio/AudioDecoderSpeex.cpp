// Wideband Speex in by libspeex: optional header, several frames a packet.
#include "audio/AudioDecoderSpeex.h"

#include <fmt/format.h>

#include <cstring>
#include <limits>

#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

// The stream header of the Ogg mapping, numbers little-endian.
constexpr uint32_t kHeaderSize = 80;
constexpr char kHeaderMark[] = "Speex   ";
constexpr uint32_t kRateAt = 36;
constexpr uint32_t kModeAt = 40;
constexpr uint32_t kLeastFrameBits = 5;
constexpr uint32_t kEndOfPacket = 15;  ///< in the bits where the next frame would begin

bool isHeader(const uint8_t* bytes, uint32_t len) {
  return len >= kHeaderSize && std::memcmp(bytes, kHeaderMark, sizeof kHeaderMark - 1) == 0;
}

uint32_t littleEndian(const uint8_t* bytes) {
  return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

}  // namespace

AudioDecoderSpeex::AudioDecoderSpeex() : lock(ConcurrentLockFactory::newConcurrentLock()) {
  codec = kAudioCodecSpeex;
}

AudioDecoderSpeex::~AudioDecoderSpeex() {
  const ScopedLock scope(*lock);
  release();
}

void AudioDecoderSpeex::release() {
  if (state == nullptr) return;
  speex_decoder_destroy(state);
  speex_bits_destroy(&bits);
  state = nullptr;
}

uint32_t AudioDecoderSpeex::initialize() {
  return guarded("AudioDecoderSpeex::initialize", [&]() -> uint32_t {
    const ScopedLock scope(*lock);
    release();
    state = speex_decoder_init(speex_lib_get_mode(SPEEX_MODEID_WB));
    if (state == nullptr) {
      warn("AudioDecoderSpeex.initialize[{context}]: Error opening decoder");
      return kFailure;
    }
    speex_bits_init(&bits);
    int enhance = 1;
    speex_decoder_ctl(state, SPEEX_SET_ENH, &enhance);
    speex_decoder_ctl(state, SPEEX_GET_FRAME_SIZE, &frame_size);
    return kSuccess;
  });
}

uint32_t AudioDecoderSpeex::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("AudioDecoderSpeex::decodeCodecConfig", [&]() -> uint32_t {
    if (buffer == nullptr || !isHeader(buffer + offset, len)) return kSuccess;
    return readHeader(buffer + offset);
  });
}

uint32_t AudioDecoderSpeex::readHeader(const uint8_t* header) {
  // The lower layers of an ultra-wideband frame are a wideband one: it plays, without its top octave.
  const uint32_t mode = littleEndian(header + kModeAt);
  refused = mode != SPEEX_MODEID_WB && mode != SPEEX_MODEID_UWB;
  if (!refused) return kSuccess;
  warn(
      fmt::format("AudioDecoderSpeex.decodeCodecConfig[{{context}}]: Only wideband is supported: mode:{}"
                  " sampleRate:{}",
                  mode, littleEndian(header + kRateAt)));
  return kFailure;
}

uint32_t AudioDecoderSpeex::decodeFirstFrame(uint8_t*, uint32_t, uint32_t) {
  setFormat(kSampleRate, 1);
  firstFrameDecoded = 1;
  return kSuccess;
}

uint32_t AudioDecoderSpeex::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                        AudioSampleBuffer& out) {
  return guarded("AudioDecoderSpeex::decodeFrame", [&]() -> uint32_t {
    const ScopedLock scope(*lock);
    if (state == nullptr || len > static_cast<uint32_t>(std::numeric_limits<int>::max())) return kFailure;
    if (buffer == nullptr || len == 0) return emptyBlock(out);
    if (isHeader(buffer + offset, len)) {
      const uint32_t result = readHeader(buffer + offset);
      return result == kSuccess ? emptyBlock(out) : result;
    }
    if (refused) return kFailure;
    speex_bits_read_from(&bits, reinterpret_cast<const char*>(buffer + offset), static_cast<int>(len));
    const uint32_t sampleCount = decodePacket(out);
    if (sampleCount == 0) return emptyBlock(out);
    setFormat(kSampleRate, 1);
    finishBlock(out, sampleCount, timecode);
    return kSuccess;
  });
}

uint32_t AudioDecoderSpeex::decodePacket(AudioSampleBuffer& out) {
  uint32_t sampleCount = 0;
  while (hasRoom(out, sampleCount) && speex_bits_remaining(&bits) >= 0) {
    auto* samples = reinterpret_cast<int16_t*>(out.getBuffer());
    if (speex_decode_int(state, &bits, samples + sampleCount) != 0) break;
    sampleCount += static_cast<uint32_t>(frame_size);
  }
  return sampleCount;
}

/// Whether one more frame fits behind `sampleCount` samples, after growth where the packet holds one more.
bool AudioDecoderSpeex::hasRoom(AudioSampleBuffer& out, uint32_t sampleCount) {
  const uint64_t needed = uint64_t{sampleCount} + static_cast<uint32_t>(frame_size);
  if (out.getBuffer() == nullptr) return false;
  if (needed * sizeof(int16_t) <= out.getLen()) return true;
  if (sampleCount == 0 || speex_bits_remaining(&bits) < static_cast<int>(kLeastFrameBits) ||
      speex_bits_peek_unsigned(&bits, kLeastFrameBits) == kEndOfPacket) {
    return false;
  }
  return makeRoom(out, 2 * needed, 1);
}

}  // namespace qvs

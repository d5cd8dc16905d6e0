// Vorbis in by libvorbis: the three header packets, then blocks.
#include "audio/AudioDecoderVorbis.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "audio/VorbisSynthesis.h"
#include "contract/StageIds.h"
#include "frames/AudioSampleBuffer.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kConfigSizeLeast = 4;
constexpr uint8_t kIdentification[] = {1, 'v', 'o', 'r', 'b', 'i', 's'};

/// Lengths of the three header packets and where the first begins. A length that isn't there is 0 or less.
struct Headers {
  std::array<int64_t, 3> lengths{};
  uint32_t begin = 0;
};

bool identificationAt(const uint8_t* bytes, uint32_t at, uint32_t len) {
  return len - at >= sizeof kIdentification &&
         std::memcmp(bytes + at, kIdentification, sizeof kIdentification) == 0;
}

/// `continued`: a length byte of 255 goes on with the next byte.
Headers findHeaders(const uint8_t* bytes, uint32_t len, bool continued) {
  Headers headers;
  uint32_t at = 1;
  for (size_t i = 0; i < 2; ++i) {
    uint8_t part = 255;
    for (bool more = true; more && at < len; more = continued && part == 255) {
      part = bytes[at++];
      headers.lengths[i] += part;
    }
  }
  headers.begin = at;
  headers.lengths[2] = int64_t{len} - headers.lengths[0] - headers.lengths[1] - at;
  return headers;
}

int16_t conv(float x) {
  // Exact in double; adding half the range makes the truncation a floor. The comparisons also stop a NaN.
  const double scaled = std::max(-32768.0, std::min(32767.0, 0.5 + x * 32767.0));
  return static_cast<int16_t>(static_cast<int>(scaled + 32768.0) - 32768);
}

constexpr uint32_t kOrderedMost = 8;

/// The codec's row by place in a block, for counts whose speakers the codec fixes: there the centre stands
/// between left and right, and the LFE at the end.
constexpr uint8_t kRows[kOrderedMost + 1][kOrderedMost] = {
    {},
    {0},
    {0, 1},
    {0, 2, 1},
    {0, 1, 2, 3},
    {0, 2, 1, 3, 4},
    {0, 2, 1, 5, 3, 4},
    {0, 2, 1, 6, 5, 3, 4},     // behind the LFE: back centre, sides
    {0, 2, 1, 7, 5, 6, 3, 4},  // back pair, side pair
};

void interleave(const float* const* pcm, uint32_t sampleCount, uint32_t channels, int16_t* samples) {
  for (uint32_t channel = 0; channel < channels; ++channel) {
    const float* row = pcm[channels <= kOrderedMost ? kRows[channels][channel] : channel];
    for (size_t i = 0; i < sampleCount; ++i) samples[i * channels + channel] = conv(row[i]);
  }
}

}  // namespace

AudioDecoderVorbis::AudioDecoderVorbis() {
  codec = kAudioCodecVorbis;
}

AudioDecoderVorbis::~AudioDecoderVorbis() = default;

uint32_t AudioDecoderVorbis::initialize() {
  return close();
}

uint32_t AudioDecoderVorbis::close() {
  synthesis.reset();
  return kSuccess;
}

void AudioDecoderVorbis::refuse(const std::string& text) const {
  warn("AudioDecoderVorbis.decodeCodecConfig[{context}]: " + text);
}

uint32_t AudioDecoderVorbis::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("AudioDecoderVorbis::decodeCodecConfig", [&]() -> uint32_t {
    if (buffer == nullptr || len < kConfigSizeLeast) return kFailure;
    uint8_t* bytes = buffer + offset;
    Headers headers = findHeaders(bytes, len, false);
    if (!identificationAt(bytes, headers.begin, len)) {
      const Headers laced = findHeaders(bytes, len, true);
      if (identificationAt(bytes, laced.begin, len)) headers = laced;
    }
    const auto& lengths = headers.lengths;
    if (*std::min_element(lengths.begin(), lengths.end()) <= 0) {
      refuse(fmt::format("Header length is zero: {}:{}:{}", lengths[0], lengths[1], lengths[2]));
      return kFailure;
    }
    std::vector<uint8_t> told(bytes, bytes + len);
    // A new start costs the first packet's overlap: the same headers again are none.
    if (synthesis && told == config) {
      restoreFormat();
      return kSuccess;
    }
    const uint32_t result = takeHeaders(bytes + headers.begin,
                                        {static_cast<uint32_t>(lengths[0]), static_cast<uint32_t>(lengths[1]),
                                         static_cast<uint32_t>(lengths[2])});
    if (result == kSuccess) config = std::move(told);
    return result;
  });
}

uint32_t AudioDecoderVorbis::takeHeaders(uint8_t* headers, const std::array<uint32_t, 3>& lengths) {
  auto opened = std::make_unique<VorbisSynthesis>();
  int result = 0;
  for (size_t i = 0; i < lengths.size(); headers += lengths[i++]) {
    result = opened->takeHeader(headers, static_cast<long>(lengths[i]));
    if (result != 0) {
      refuse(fmt::format("Header decode failed: {} length:{} ret:{}", i, lengths[i], result));
      return kFailure;
    }
  }
  if (const char* failed = opened->open(&result)) {
    refuse(fmt::format("{}: ret:{}", failed, result));
    return kFailure;
  }
  synthesis = std::move(opened);
  setFormat(static_cast<uint32_t>(synthesis->getRate()), static_cast<uint32_t>(synthesis->getChannels()));
  return kSuccess;
}

uint32_t AudioDecoderVorbis::decodeFirstFrame(uint8_t*, uint32_t, uint32_t) {
  restoreFormat();
  firstFrameDecoded = 1;
  return kSuccess;
}

uint32_t AudioDecoderVorbis::decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                         AudioSampleBuffer& out) {
  return guarded("AudioDecoderVorbis::decodeFrame", [&]() -> uint32_t {
    if (!synthesis) return kFailure;
    if (buffer == nullptr || len == 0) return emptyBlock(out);
    restoreFormat();
    if (!synthesis->takePacket(buffer + offset, static_cast<long>(len))) return emptyBlock(out);
    float** pcm = nullptr;
    const int waiting = synthesis->samples(&pcm);
    if (waiting <= 0) return emptyBlock(out);
    const auto sampleCount = static_cast<uint32_t>(waiting);
    const bool room = makeRoom(out, sampleCount, decodedChannels);
    if (room) {
      interleave(pcm, sampleCount, decodedChannels, reinterpret_cast<int16_t*>(out.getBuffer()));
    }
    // Taken off in any case: libvorbis accepts no packet while samples wait.
    synthesis->drop(waiting);
    if (!room) return kFailure;
    finishBlock(out, sampleCount, timecode);
    return kSuccess;
  });
}

}  // namespace qvs

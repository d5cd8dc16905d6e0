// Unpacking samples of v210 lines, for ancillary data and luma.
#include "capture/CaptureAncillaryDataUtils.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace qvs {
namespace {

constexpr uint32_t kGroupBytes = 16;
constexpr uint32_t kGroupSamples = 12;  // Cb, Y, Cr, Y and so on: luma has the odd places
constexpr uint32_t kGroupLuma = 6;
constexpr uint32_t kMask = 1023;

struct Words {
  uint32_t word[4];
  explicit Words(const uint8_t* bytes) { std::memcpy(word, bytes, sizeof word); }
  uint16_t at(uint32_t index, uint32_t shift) const {
    return static_cast<uint16_t>(word[index] >> shift & kMask);
  }
};

/// Twelve samples of 10 bits out of four little-endian words.
void unpackGroup(const uint8_t* bytes, uint16_t* samples) {
  const Words words(bytes);
  for (uint32_t i = 0; i < 4; ++i) {
    samples[3 * i] = words.at(i, 0);
    samples[3 * i + 1] = words.at(i, 10);
    samples[3 * i + 2] = words.at(i, 20);
  }
}

void unpackLuma(const uint8_t* bytes, uint16_t* samples) {
  const Words words(bytes);
  samples[0] = words.at(0, 10);
  samples[1] = words.at(1, 0);
  samples[2] = words.at(1, 20);
  samples[3] = words.at(2, 10);
  samples[4] = words.at(3, 0);
  samples[5] = words.at(3, 20);
}

/// The first `count` samples of a line, of which a group has `kSamples`.
template <uint32_t kSamples, void (*unpack)(const uint8_t*, uint16_t*)>
void readLine(const uint8_t* line, uint32_t count, uint16_t* out) {
  for (; count >= kSamples; count -= kSamples, line += kGroupBytes, out += kSamples) unpack(line, out);
  if (count == 0) return;
  uint16_t rest[kSamples];
  unpack(line, rest);
  std::copy_n(rest, count, out);
}

}  // namespace

uint32_t CaptureAncillaryDataUtils::getAncillaryData(const uint8_t* line, uint32_t count,
                                                     uint32_t chromaAndLuma, uint16_t* out,
                                                     uint32_t* written) {
  const auto read =
      chromaAndLuma != 0 ? readLine<kGroupSamples, unpackGroup> : readLine<kGroupLuma, unpackLuma>;
  read(line, count, out);
  *written = count;
  return 0;
}

uint32_t CaptureAncillaryDataUtils::getYOfImageData(const uint8_t* image, uint32_t width, uint32_t stride,
                                                    uint32_t firstLine, uint32_t lastLine, uint8_t* out) {
  std::vector<uint16_t> samples(width);
  for (uint64_t line = std::max(firstLine, 1u); line <= lastLine; ++line) {
    readLine<kGroupLuma, unpackLuma>(image + (line - 1) * stride, width, samples.data());
    for (const uint16_t sample : samples) *out++ = static_cast<uint8_t>(sample >> 2);
  }
  return 0;
}

}  // namespace qvs

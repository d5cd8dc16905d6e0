// Unpacking samples of v210 lines, for ancillary data and luma.
#include "capture/CaptureAncillaryDataUtils.h"

#include <algorithm>

namespace qvs {
namespace {

constexpr uint32_t kGroupBytes = 16;
constexpr uint32_t kGroupSamples = 12;  // Cb, Y, Cr, Y and so on: luma has the odd places
constexpr uint32_t kWordSamples = 3;

/// Twelve samples of 10 bits out of four little-endian words.
void unpackGroup(const uint8_t* bytes, uint16_t* samples) {
  for (uint32_t i = 0; i < kGroupSamples; i += kWordSamples, bytes += 4) {
    samples[i] = static_cast<uint16_t>(bytes[0] + ((bytes[1] << 8) & 0x300));
    samples[i + 1] = static_cast<uint16_t>(((bytes[2] << 6) & 0x3C0) + (bytes[1] >> 2));
    samples[i + 2] = static_cast<uint16_t>(((bytes[3] << 4) & 0x3F0) + (bytes[2] >> 4));
  }
}

/// Gives every sample, or every luma sample, of a line to `take`, `count` in all.
template <typename Take>
void readLine(const uint8_t* line, uint32_t count, bool lumaOnly, Take&& take) {
  const uint32_t step = lumaOnly ? 2 : 1;
  uint16_t samples[kGroupSamples];
  for (uint32_t done = 0; done < count; line += kGroupBytes) {
    unpackGroup(line, samples);
    for (uint32_t i = lumaOnly ? 1 : 0; i < kGroupSamples && done < count; i += step, ++done)
      take(samples[i]);
  }
}

}  // namespace

uint32_t CaptureAncillaryDataUtils::getAncillaryData(const uint8_t* line, uint32_t count,
                                                     uint32_t chromaAndLuma, uint16_t* out,
                                                     uint32_t* written) {
  readLine(line, count, chromaAndLuma == 0, [&](uint16_t sample) { *out++ = sample; });
  *written = count;
  return 0;
}

uint32_t CaptureAncillaryDataUtils::getYOfImageData(const uint8_t* image, uint32_t width, uint32_t stride,
                                                    uint32_t firstLine, uint32_t lastLine, uint8_t* out) {
  for (uint64_t line = std::max(firstLine, 1u); line <= lastLine; ++line) {
    readLine(image + (line - 1) * stride, width, true,
             [&](uint16_t sample) { *out++ = static_cast<uint8_t>(sample >> 2); });
  }
  return 0;
}

}  // namespace qvs

#pragma once

#include <array>
#include <cstdint>

namespace qvs {

/// One companding law of ITU-T G.711: what its decoder needs to know beside the common way of decoding.
struct G711Law {
  uint32_t codec;
  const char* firstFrameLabel;  ///< where an exception is reported
  const char* frameLabel;
  std::array<int16_t, 256> samples;  ///< by coded byte, at 16-bit scale
};

namespace g711 {

constexpr int16_t expandALaw(uint32_t byte) {
  const uint32_t segment = ((byte ^ 0xD5) >> 4) & 7;
  uint32_t value = (((byte & 0x0F) ^ 5) << 4) | 8;
  if (segment != 0) value += 256;
  if (segment > 1) value <<= segment - 1;
  const auto magnitude = static_cast<int32_t>(value);
  return static_cast<int16_t>(byte & 0x80 ? magnitude : -magnitude);
}

constexpr int16_t expandMULaw(uint32_t byte) {
  const uint32_t inverted = ~byte;
  const uint32_t mantissa = ((inverted & 0x0F) | 0x10) * 2 + 1;
  const auto magnitude = static_cast<int32_t>(mantissa << (((inverted >> 4) & 7) + 2)) - 132;
  return static_cast<int16_t>(byte & 0x80 ? magnitude : -magnitude);
}

constexpr std::array<int16_t, 256> tableOf(int16_t (*expand)(uint32_t)) {
  std::array<int16_t, 256> table{};
  for (uint32_t byte = 0; byte < table.size(); ++byte) table[byte] = expand(byte);
  return table;
}

inline constexpr G711Law kALaw = {7, "AudioDecoderALaw::decodeFirstFrame", "AudioDecoderALaw::decodeFrame",
                                  tableOf(expandALaw)};
inline constexpr G711Law kMULaw = {8, "AudioDecoderMULaw::decodeFirstFrame", "AudioDecoderMULaw::decodeFrame",
                                   tableOf(expandMULaw)};

}  // namespace g711

}  // namespace qvs

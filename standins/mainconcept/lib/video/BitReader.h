#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvs::mc {

/// Reads bits, high bit first. Past the end it gives zeros and `isPastEnd` turns true.
class BitReader {
 public:
  explicit BitReader(const std::vector<uint8_t>& bytes) : bytes(bytes) {}

  uint32_t bit() {
    const size_t index = position / 8;
    const uint32_t value = index < bytes.size() ? bytes[index] >> (7 - position % 8) & 1 : 0;
    ++position;
    return value;
  }

  /// Up to 32 bits.
  uint32_t bits(uint32_t count) {
    uint32_t value = 0;
    for (; count != 0; --count) value = value << 1 | bit();
    return value;
  }

  /// An Exp-Golomb number; a code of more than 31 leading zeros counts as past the end.
  uint32_t unsignedGolomb() {
    uint32_t zeros = 0;
    while (zeros < 32 && bit() == 0) ++zeros;
    if (zeros == 32) position = bytes.size() * 8 + 1;
    return zeros == 32 ? 0 : (1u << zeros) - 1 + bits(zeros);
  }

  int32_t signedGolomb() {
    const uint32_t code = unsignedGolomb();
    const auto half = static_cast<int32_t>(code / 2 + code % 2);
    return code % 2 != 0 ? half : -half;
  }

  bool isPastEnd() const { return position > bytes.size() * 8; }

 private:
  const std::vector<uint8_t>& bytes;
  size_t position = 0;  ///< bits
};

}  // namespace qvs::mc

#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <vector>

namespace qvs::vaapi {

/// Writes bits, high bit first. Cleared it keeps its memory.
class BitWriter {
 public:
  void bits(uint32_t value, uint32_t count) {
    while (count != 0) bit((value >> --count & 1) != 0);
  }
  void bit(bool value) {
    if (length % 8 == 0) bytes.push_back(0);
    if (value) bytes.back() = static_cast<uint8_t>(bytes.back() | 0x80u >> length % 8);
    ++length;
  }
  void unsignedGolomb(uint32_t value) {
    const auto width = static_cast<uint32_t>(std::bit_width(value + 1));
    bits(0, width - 1);
    bits(value + 1, width);
  }
  void signedGolomb(int32_t value) {
    unsignedGolomb(value > 0 ? static_cast<uint32_t>(2 * value - 1) : static_cast<uint32_t>(-2 * value));
  }
  /// A one and zeros to the next byte.
  void trailing() {
    bit(true);
    while (length % 8 != 0) bit(false);
  }

  void clear() {
    bytes.clear();
    length = 0;
  }
  uint32_t bitLength() const { return length; }
  std::span<const uint8_t> data() const { return bytes; }

 private:
  std::vector<uint8_t> bytes;
  uint32_t length = 0;  ///< bits
};

/// Appends a unit behind a start code, with the bytes that keep start codes out of it. Gives its bits, start code
/// included; `bitLength` may end inside a byte, as that of a slice header does.
inline uint32_t appendUnit(std::vector<uint8_t>& out, std::span<const uint8_t> unit, uint32_t bitLength) {
  const size_t before = out.size();
  out.insert(out.end(), {0, 0, 0, 1});
  int zeros = 0;
  for (uint8_t byte : unit) {
    if (zeros >= 2 && byte <= 3) {
      out.push_back(3);
      zeros = 0;
    }
    out.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return static_cast<uint32_t>(out.size() - before - unit.size()) * 8 + bitLength;
}

}  // namespace qvs::vaapi

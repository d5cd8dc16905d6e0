#pragma once

#include <cstdint>

namespace qvs {

/// Big-endian numbers in byte buffers. The caller vouches for the bytes.
class BufferUtils {
 public:
  /// The 32-bit number in the four bytes at `bytes`.
  static uint32_t bufferToInt(const uint8_t* bytes) {
    return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
  }

  /// Writes `value` into the four bytes at `bytes`.
  static void intToBuffer(uint32_t value, uint8_t* bytes) {
    bytes[0] = static_cast<uint8_t>(value >> 24);
    bytes[1] = static_cast<uint8_t>(value >> 16);
    bytes[2] = static_cast<uint8_t>(value >> 8);
    bytes[3] = static_cast<uint8_t>(value);
  }
};

}  // namespace qvs

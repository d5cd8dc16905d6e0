#pragma once

#include <cstdint>

namespace qvs {

/// Access units of H.264 and H.265 on their way from start codes to lengths.
class NalUnits {
 public:
  /// Rewrites the four-byte start codes of a unit to big-endian lengths, in place. Gives the frame type: 1
  /// key, 2 predicted, 3 bidirectional, 0 for an end of sequence that is of no further use.
  static uint32_t processH264Frame(uint8_t* bytes, uint32_t len);
  static uint32_t processH265Frame(uint8_t* bytes, uint32_t len);
};

}  // namespace qvs

#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::mc {

/// Follows how fields of MPEG-2 pair up to frames. The codec takes every second field for the end of a frame,
/// so that a lost field would leave all behind it woven wrongly, until a group of pictures begins.
class FieldPairing {
 public:
  /// Looks at the next unit. True where it starts a frame although the codec still waits for a second field.
  bool isBrokenBy(const uint8_t* unit, size_t size);

 private:
  bool waiting = false;            ///< the codec has one field of a frame
  bool started = false;            ///< since the first intra picture it decodes
  uint32_t temporalReference = 0;  ///< of the field that waits
  uint32_t structure = 0;          ///< and its parity
};

}  // namespace qvs::mc

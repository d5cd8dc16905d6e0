#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <span>
#include <vector>

namespace qvs::plugins {

/// Coded units on their way into a decoder: what the container has is turned into what the runtime reads, units behind
/// start codes. What the runtime leaves stays in front of the next unit.
class UnitInput {
 public:
  /// The container's record: AVCC, or whatever begins with a start code. False where it is neither or damaged; the old
  /// one then stays.
  bool configure(std::span<const uint8_t> record, bool lengthPrefixed);

  /// False where lengths lead beyond the unit's end: nothing of it is taken.
  bool add(std::span<const uint8_t> unit, uint64_t time);
  void clear();

  /// The parameter sets alone, for a look at them.
  mfxBitstream& headers();
  mfxBitstream& bits() { return stream; }
  bool empty() const { return stream.DataLength == 0; }

 private:
  std::vector<uint8_t> config;  ///< behind start codes
  std::vector<uint8_t> memory;
  mfxBitstream stream{};
  mfxBitstream look{};
  uint32_t lengthSize = 0;     ///< bytes of a length; 0: start codes
  bool configPending = false;  ///< goes in front of the next unit
};

}  // namespace qvs::plugins

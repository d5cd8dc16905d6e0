#pragma once

#include <cstdlib>
#include <utility>
#include <vector>

#include "frames/AudioFrameEncoded.h"
#include "frames/VideoFrameEncoded.h"

namespace qvs {

/// The bytes of a unit that whoever takes it frees; null where they are another's: an array of the virtual
/// machine, or memory of the encoder's library, which the encoder gives back by the `nbuffer` of the unit.
inline void* ownedBytes(const VideoFrameEncoded& unit) {
  return unit.isAllocated() ? unit.getBuffer() : nullptr;
}
inline void* ownedBytes(const AudioFrameEncoded& unit) {
  return unit.getBuffer();
}

/// Coded units on their way from an encoder to whoever takes them. Frees their bytes when it goes or is
/// cleared; keeps its room then.
template <typename Unit>
class EncodedUnits {
 public:
  EncodedUnits() = default;
  ~EncodedUnits() { clear(); }
  EncodedUnits(EncodedUnits&& other) noexcept : units(std::exchange(other.units, {})) {}
  EncodedUnits& operator=(EncodedUnits&& other) noexcept {
    std::swap(units, other.units);
    return *this;
  }

  /// Where encoders append to; who takes a unit out of it frees its bytes.
  std::vector<Unit>& list() { return units; }

  bool empty() const { return units.empty(); }
  size_t size() const { return units.size(); }
  auto begin() const { return units.begin(); }
  auto end() const { return units.end(); }
  const Unit& operator[](size_t index) const { return units[index]; }

  void clear() {
    for (const Unit& unit : units) std::free(ownedBytes(unit));
    units.clear();
  }

 private:
  std::vector<Unit> units;
};

using EncodedVideoUnits = EncodedUnits<VideoFrameEncoded>;
using EncodedAudioUnits = EncodedUnits<AudioFrameEncoded>;

}  // namespace qvs

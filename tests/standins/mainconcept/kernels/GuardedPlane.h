// Planes whose neighbours can't be touched unnoticed, and the levels that a kernel has forms for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "support/GuardedBytes.h"
#include "ucc/kernels/CpuDispatch.h"

namespace qvs::ucc {

/// Which side of the plane lies against a page that faults on access.
enum class Guard { kBefore, kBehind };

/// A plane in its own pages. The gaps between rows hold a canary.
class GuardedPlane {
 public:
  GuardedPlane(size_t rowBytes, uint32_t rows, size_t gap = 0, Guard guard = Guard::kBehind);

  uint8_t* data() const { return memory.data(); }
  ptrdiff_t stride() const { return static_cast<ptrdiff_t>(step); }
  uint8_t* row(uint32_t y) const { return data() + y * step; }
  size_t rowBytes() const { return bytesInRow; }
  uint32_t rows() const { return rowCount; }

  void fill(uint8_t value);
  void fillRandom(std::mt19937& random);
  /// Only 0 and 255: the sums with the largest overshoot.
  void fillExtremes(std::mt19937& random);
  void copyFrom(const std::vector<uint8_t>& pixels);
  std::vector<uint8_t> pixels() const;
  bool gapsIntact() const;

 private:
  size_t bytesInRow;
  uint32_t rowCount;
  size_t step;
  mutable test::GuardedBytes memory;
};

/// Vector levels of this machine, without the plain one.
std::vector<CpuLevel> vectorLevels();
std::string nameOf(CpuLevel level);

/// Allows nothing but `level` (and the plain form) while it lives.
class ForcedLevel {
 public:
  explicit ForcedLevel(CpuLevel level) { setCpuLevelMask(1u << static_cast<int>(level)); }
  ~ForcedLevel() { setCpuLevelMask(~0u); }
};

}  // namespace qvs::ucc

// What the processor offers to the kernels, and the one place that chooses between their forms.
#pragma once

#include <cstdint>

namespace qvs::ucc {

struct KernelTable;

/// Instruction sets that kernels are written for, each one including those before it.
enum class CpuLevel : uint8_t {
  kPlain = 0,  ///< portable C++
  kAvx2 = 1,
  kAvx512 = 2,  ///< F, BW, VL, VBMI and VNNI together
};

inline constexpr int kCpuLevels = 3;

/// The highest level that this processor has, whatever the mask says.
CpuLevel detectedCpuLevel();

/// Bit n allows level n; plain C++ is always allowed. Holds for plans made and for kernels called afterwards.
/// For tests and measurements: every level gives the same bytes.
void setCpuLevelMask(uint32_t mask);

/// The kernels of the highest level that is there and allowed.
const KernelTable& kernels();

}  // namespace qvs::ucc

#pragma once

namespace qvs {

/// Instruction sets that kernels come in, each including those before it.
enum class CpuLevel { kC, kAvx2, kAvx512 };

/// The highest level that this processor, and the build, can run. kAvx512 stands for AVX-512 F, BW and VL.
CpuLevel detectCpuLevel();

}  // namespace qvs

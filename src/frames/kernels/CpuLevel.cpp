// Which instruction sets this processor has.
#include "frames/kernels/CpuLevel.h"

namespace qvs {

CpuLevel detectCpuLevel() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl")) return CpuLevel::kAvx512;
  if (__builtin_cpu_supports("avx2")) return CpuLevel::kAvx2;
#endif
  return CpuLevel::kC;
}

}  // namespace qvs

// Merging two planes to pairs and splitting them: plain form and choice of the vector form.
#include "frames/kernels/SemiPlanar.h"

#include <algorithm>

#include "frames/kernels/x86/SemiPlanarX86.h"

namespace qvs {
namespace {

void mergeC(const uint8_t* even, ptrdiff_t evenStride, const uint8_t* odd, ptrdiff_t oddStride,
            uint8_t* pairs, ptrdiff_t pairsStride, size_t width, size_t rows) {
  for (; rows != 0; --rows, even += evenStride, odd += oddStride, pairs += pairsStride) {
    for (size_t i = 0; i < width; ++i) {
      pairs[2 * i] = even[i];
      pairs[2 * i + 1] = odd[i];
    }
  }
}

void splitC(const uint8_t* pairs, ptrdiff_t pairsStride, uint8_t* even, ptrdiff_t evenStride, uint8_t* odd,
            ptrdiff_t oddStride, size_t width, size_t rows) {
  for (; rows != 0; --rows, even += evenStride, odd += oddStride, pairs += pairsStride) {
    for (size_t i = 0; i < width; ++i) {
      even[i] = pairs[2 * i];
      odd[i] = pairs[2 * i + 1];
    }
  }
}

}  // namespace

SemiPlanarKernels semiPlanarKernels(CpuLevel level) {
  SemiPlanarKernels kernels{mergeC, splitC};
#if defined(__x86_64__)
  level = std::min(level, detectCpuLevel());
  if (level >= CpuLevel::kAvx2) kernels = {mergeAvx2, splitAvx2};
  if (level >= CpuLevel::kAvx512) kernels = {mergeAvx512, splitAvx512};
#endif
  return kernels;
}

}  // namespace qvs

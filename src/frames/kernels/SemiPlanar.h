#pragma once

#include <cstddef>
#include <cstdint>

#include "frames/kernels/CpuLevel.h"

namespace qvs {

/// Two planes of bytes into one plane of pairs, and back. Strides in bytes, any sign; `width` in pairs. Only
/// the bytes of the rows are read and written, never the slack up to the stride. Planes must not overlap.
struct SemiPlanarKernels {
  void (*merge)(const uint8_t* even, ptrdiff_t evenStride, const uint8_t* odd, ptrdiff_t oddStride,
                uint8_t* pairs, ptrdiff_t pairsStride, size_t width, size_t rows);
  void (*split)(const uint8_t* pairs, ptrdiff_t pairsStride, uint8_t* even, ptrdiff_t evenStride,
                uint8_t* odd, ptrdiff_t oddStride, size_t width, size_t rows);
};

/// The forms for `level`, or for the highest level below it that this processor has.
SemiPlanarKernels semiPlanarKernels(CpuLevel level);

}  // namespace qvs

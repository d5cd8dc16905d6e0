#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs {

// As the pointers of SemiPlanarKernels.
void mergeAvx2(const uint8_t* even, ptrdiff_t evenStride, const uint8_t* odd, ptrdiff_t oddStride,
               uint8_t* pairs, ptrdiff_t pairsStride, size_t width, size_t rows);
void splitAvx2(const uint8_t* pairs, ptrdiff_t pairsStride, uint8_t* even, ptrdiff_t evenStride, uint8_t* odd,
               ptrdiff_t oddStride, size_t width, size_t rows);
void mergeAvx512(const uint8_t* even, ptrdiff_t evenStride, const uint8_t* odd, ptrdiff_t oddStride,
                 uint8_t* pairs, ptrdiff_t pairsStride, size_t width, size_t rows);
void splitAvx512(const uint8_t* pairs, ptrdiff_t pairsStride, uint8_t* even, ptrdiff_t evenStride,
                 uint8_t* odd, ptrdiff_t oddStride, size_t width, size_t rows);

}  // namespace qvs

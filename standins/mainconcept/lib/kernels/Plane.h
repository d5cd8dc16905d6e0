// Copying and filling of planes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::ucc {

/// Copies `rows` rows of `rowBytes`; one copy where both planes are contiguous. Strides are bytes, may be
/// negative. Planes must not overlap.
void copyPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, size_t rowBytes,
               uint32_t rows);

void fillPlane(uint8_t* dst, ptrdiff_t dstStride, size_t rowBytes, uint32_t rows, uint8_t value);

/// U and V planes into one of pairs, and back. `width` counts pairs.
void interleavePlanes(const uint8_t* first, ptrdiff_t firstStride, const uint8_t* second,
                      ptrdiff_t secondStride, uint8_t* dst, ptrdiff_t dstStride, uint32_t width,
                      uint32_t rows);
void splitPlanes(const uint8_t* src, ptrdiff_t srcStride, uint8_t* first, ptrdiff_t firstStride,
                 uint8_t* second, ptrdiff_t secondStride, uint32_t width, uint32_t rows);

}  // namespace qvs::ucc

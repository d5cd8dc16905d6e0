// Copying, mirroring and filling of planes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::ucc {

/// Copies `rows` rows of `rowBytes`; one copy where both planes are contiguous. Strides are bytes, may be
/// negative. Planes must not overlap.
void copyPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, size_t rowBytes,
               uint32_t rows);

/// Copies `rows` rows of `columns` elements, of 1 or 2 bytes, each row from its last element to its first.
void mirrorPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, uint32_t columns,
                 uint32_t rows, uint32_t elementBytes);

void fillPlane(uint8_t* dst, ptrdiff_t dstStride, size_t rowBytes, uint32_t rows, uint8_t value);

}  // namespace qvs::ucc

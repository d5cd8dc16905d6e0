// Turning of planes without scaling.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Orientation.h"

namespace qvs::ucc {

/// Lays a plane of `rows` rows of `columns` elements, of 1 or 2 bytes, into another by `orientation`. Strides
/// are bytes, may be negative. Reads and writes only the elements' own bytes. Planes must not overlap.
void turnPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, uint32_t columns,
               uint32_t rows, uint32_t elementBytes, Orientation orientation);

/// dst(x, y) = src(y, x).
void transposePlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                    uint32_t columns, uint32_t rows, uint32_t elementBytes);

/// The same plane from its last row up.
template <class Byte>
void turnOver(Byte*& plane, ptrdiff_t& stride, uint32_t rows) {
  plane += (static_cast<ptrdiff_t>(rows) - 1) * stride;
  stride = -stride;
}

/// The portable form of transposePlane, to which vector forms leave what is smaller than their tile.
template <class Element>
void plainTranspose(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                    uint32_t columns, uint32_t rows);

extern template void plainTranspose<uint8_t>(const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t, uint32_t,
                                             uint32_t);
extern template void plainTranspose<uint16_t>(const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t, uint32_t,
                                              uint32_t);

}  // namespace qvs::ucc

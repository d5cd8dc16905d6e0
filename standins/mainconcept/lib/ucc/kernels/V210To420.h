// Packed 10-bit 4:2:2 ("v210") to 8-bit planar 4:2:0.
#pragma once

#include <cstddef>
#include <cstdint>

#include "BgraTo420.h"

namespace qvs::ucc {

/// Converts width x height pixels, both even. Samples are rounded to 8 bits; chroma is the rounded mean of a row and
/// the one below. Nothing is read beyond the group of six pixels that holds a row's last, and nothing is written
/// beyond the planes. Source and target must not overlap. Every instruction set gives the same bytes.
void v210To420(const uint8_t* src, ptrdiff_t srcStride, const Planes420& dst, uint32_t width,
               uint32_t height);

/// The portable form of the two rows from pixel `from` on, a multiple of six.
void plainV210To420Rows(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                        uint8_t* v, uint32_t from, uint32_t width);

}  // namespace qvs::ucc

// Four-byte RGB to planar 4:2:0.
#pragma once

#include <cstddef>
#include <cstdint>

#include "RgbYuv.h"

namespace qvs::ucc {

/// Matrix from the luma weights of red and blue (0.2126 and 0.0722 for BT.709), for 0 to 255 or for 16 to 235
/// and 16 to 240.
RgbToYuvMatrix makeRgbToYuvMatrix(double kr, double kb, bool fullRange);

struct Planes420 {
  uint8_t* y;
  uint8_t* u;
  uint8_t* v;
  ptrdiff_t yStride;  ///< bytes, may be negative
  ptrdiff_t uStride;
  ptrdiff_t vStride;
};

/// Converts width x height pixels. Chroma is taken from the rounded mean (a half goes down) of each 2 x 2
/// block and has width / 2 x height / 2 samples; an odd last column or row has none. Source and target must
/// not overlap. Every instruction set gives the same bytes.
void bgraTo420(const uint8_t* src, ptrdiff_t srcStride, const RgbOrder& order, const RgbToYuvMatrix& matrix,
               const Planes420& dst, uint32_t width, uint32_t height);

}  // namespace qvs::ucc

// Four-byte RGB to planar 4:2:0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::ucc {

/// Byte positions of the components in a four-byte pixel.
struct RgbOrder {
  uint8_t red, green, blue, alpha;
};

inline constexpr RgbOrder kBgraOrder{2, 1, 0, 3};
inline constexpr RgbOrder kArgbOrder{1, 2, 3, 0};

/// Y = (y . RGB + rounding) / 16384 + yOffset; U and V alike around 128. The absolute values of a row sum up
/// to at most 16384.
struct RgbToYuvMatrix {
  int16_t y[3];  ///< weights of red, green, blue; 16384 is 1
  int16_t u[3];
  int16_t v[3];
  uint8_t yOffset;
};

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

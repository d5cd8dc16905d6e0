// Where a four-byte pixel holds its components, and how they weigh in luma and chroma.
#pragma once

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

}  // namespace qvs::ucc

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qvs::test {

/// What the samples of an 8-bit 4:2:0 picture should be that is made of another planar form, in plain
/// arithmetic and not rounded.
struct Expected420 {
  const uint8_t* planes[3];
  ptrdiff_t strides[3];  ///< bytes
  int width, height;
  uint32_t depth;
  bool wide;           ///< in 16-bit words
  int shiftX, shiftY;  ///< of chroma
  bool rgb;            ///< the planes are G, B and R
  bool fullRange;

  double at(int plane, int x, int y) const {
    if (!rgb) return std::min(filtered(plane, x, y, plane != 0), 255.0);
    const double red = height >= 720 ? 0.2126 : 0.299, blue = height >= 720 ? 0.0722 : 0.114;
    const double g = filtered(0, x, y, plane != 0), b = filtered(1, x, y, plane != 0),
                 r = filtered(2, x, y, plane != 0);
    const double luma = red * r + blue * b + (1 - red - blue) * g;
    const double difference = plane == 1 ? (b - luma) / (2 * (1 - blue)) : (r - luma) / (2 * (1 - red));
    return std::clamp(plane == 0 ? luma : 128 + difference * (fullRange ? 1 : 224.0 / 219.0), 0.0, 255.0);
  }

 private:
  double sample(int plane, int x, int y) const {
    const int columns = plane != 0 ? (width + shiftX) >> shiftX : width;
    const int rows = plane != 0 ? (height + shiftY) >> shiftY : height;
    const uint8_t* row = planes[plane] + std::clamp(y, 0, rows - 1) * strides[plane];
    const int column = std::clamp(x, 0, columns - 1);
    if (!wide) return row[column];
    return reinterpret_cast<const uint16_t*>(row)[column] / static_cast<double>(1u << (depth - 8));
  }

  double filtered(int plane, int x, int y, bool chroma) const {
    const auto inRow = [&](int row) {
      if (!chroma || shiftX == 1) return sample(plane, x, row);
      return (sample(plane, 2 * x - 1, row) + 2 * sample(plane, 2 * x, row) + sample(plane, 2 * x + 1, row)) /
             4;
    };
    return chroma && shiftY == 0 ? (inRow(2 * y) + inRow(2 * y + 1)) / 2 : inRow(y);
  }
};

}  // namespace qvs::test

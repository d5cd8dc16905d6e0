// A color matrix laid out for the bytes of a pixel.
#pragma once

#include <algorithm>
#include <cstdint>

#include "RgbYuv.h"

namespace qvs::ucc {

/// Weights by byte position, split as 128 x high + low with low from -64 to 63, so that byte multiplications
/// reach 14 bits.
struct PixelWeights {
  int16_t whole[4];
  int8_t high[4];
  int8_t low[4];
  int32_t bias;  ///< offset and rounding, in 16384ths; a multiple of 128

  PixelWeights(const int16_t (&rgb)[3], const RgbOrder& order, int offset)
      : bias((offset << 14) + (1 << 13)) {
    whole[order.red] = rgb[0];
    whole[order.green] = rgb[1];
    whole[order.blue] = rgb[2];
    whole[order.alpha] = 0;
    for (int i = 0; i < 4; ++i) {
      high[i] = static_cast<int8_t>((whole[i] + 64) >> 7);
      low[i] = static_cast<int8_t>(whole[i] - high[i] * 128);
    }
  }

  uint8_t apply(const uint8_t* pixel) const {
    int sum = bias;
    for (int i = 0; i < 4; ++i) sum += whole[i] * pixel[i];
    return static_cast<uint8_t>(std::clamp(sum >> 14, 0, 255));
  }
};

/// A matrix's three rows.
struct PixelMatrix {
  PixelWeights y, u, v;

  PixelMatrix(const RgbToYuvMatrix& matrix, const RgbOrder& order)
      : y(matrix.y, order, matrix.yOffset), u(matrix.u, order, 128), v(matrix.v, order, 128) {}
};

/// The portable form; vector forms leave narrow rows to it.
void plainTo420Rows(const uint8_t* src0, const uint8_t* src1, const PixelMatrix& matrix, uint8_t* y0,
                    uint8_t* y1, uint8_t* u, uint8_t* v, uint32_t width);

}  // namespace qvs::ucc

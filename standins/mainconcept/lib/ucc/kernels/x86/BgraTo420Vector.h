// RGB to 4:2:0 over a vector type. `V` gives the registers and operations of one instruction set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../PixelMatrix.h"

namespace qvs::ucc {

/// Rows narrower than a block, and an odd last pixel, are left to the plain forms.
template <class V>
class BgraTo420Vector {
 public:
  static void toLuma(const uint8_t* src, const PixelMatrix& matrix, uint8_t* y, uint32_t width) {
    if (width < kPixels) return plainLuma(src, matrix, y, 0, width);
    const typename V::Weights weights(matrix.y);
    uint32_t x = 0;
    for (; x + kPixels <= width; x += kPixels) lumaBlock(src, weights, y, x);
    if (x != width) lumaBlock(src, weights, y, width - kPixels);
  }

  static void to420Rows(const uint8_t* src0, const uint8_t* src1, const PixelMatrix& matrix, uint8_t* y0,
                        uint8_t* y1, uint8_t* u, uint8_t* v, uint32_t width) {
    if (width < kPixels) return plainTo420Rows(src0, src1, matrix, y0, y1, u, v, width);
    const typename V::Weights yWeights(matrix.y), uWeights(matrix.u), vWeights(matrix.v);
    const ptrdiff_t stride = src1 - src0;
    const auto block = [&](uint32_t x) {
      prefetch(src1 + stride + size_t{4} * x);
      prefetch(src1 + 2 * stride + size_t{4} * x);
      lumaBlock(src0, yWeights, y0, x);
      lumaBlock(src1, yWeights, y1, x);
      chromaBlock(src0, src1, uWeights, vWeights, u, v, x);
    };
    const uint32_t even = width & ~1u;
    uint32_t x = 0;
    for (; x + kPixels <= even; x += kPixels) block(x);
    if (x != even) block(even - kPixels);
    if (even == width) return;
    plainLuma(src0, matrix, y0, even, width);
    plainLuma(src1, matrix, y1, even, width);
  }

 private:
  using Reg = typename V::Reg;
  static constexpr uint32_t kPixels = V::kBytes;  ///< of a block: four registers of pixels, one of luma

  static void plainLuma(const uint8_t* src, const PixelMatrix& matrix, uint8_t* y, uint32_t from,
                        uint32_t to) {
    for (uint32_t x = from; x < to; ++x) y[x] = matrix.y.apply(src + 4 * x);
  }

  /// Asks for a block of the rows that come next: the processor's own prefetch stops at each page's end.
  /// Beyond the picture it does nothing.
  static void prefetch(const uint8_t* row) {
    for (uint32_t line = 0; line < 4 * kPixels; line += 64) __builtin_prefetch(row + line, 0, 2);
  }

  static void lumaBlock(const uint8_t* src, const typename V::Weights& weights, uint8_t* y, uint32_t x) {
    const uint8_t* from = src + size_t{4} * x;
    const Reg a = V::dotPixels(V::load(from), weights);
    const Reg b = V::dotPixels(V::load(from + V::kBytes), weights);
    const Reg c = V::dotPixels(V::load(from + 2 * V::kBytes), weights);
    const Reg d = V::dotPixels(V::load(from + 3 * V::kBytes), weights);
    V::store(y + x, V::orderLuma(V::packToBytes(V::packToWords(a, b), V::packToWords(c, d))));
  }

  /// Means of 2 x 2 blocks of one register's pixels and those below, as words.
  static Reg means(const uint8_t* above, const uint8_t* below) {
    return V::halve(V::average16(V::addNeighbours(V::load(above)), V::addNeighbours(V::load(below))));
  }

  static void chromaBlock(const uint8_t* src0, const uint8_t* src1, const typename V::Weights& uWeights,
                          const typename V::Weights& vWeights, uint8_t* u, uint8_t* v, uint32_t x) {
    const uint8_t* above = src0 + size_t{4} * x;
    const uint8_t* below = src1 + size_t{4} * x;
    constexpr int n = V::kBytes;
    const Reg left = V::packToBytes(means(above, below), means(above + n, below + n));
    const Reg right =
        V::packToBytes(means(above + 2 * n, below + 2 * n), means(above + 3 * n, below + 3 * n));
    const Reg us = V::packToWords(V::dotPixels(left, uWeights), V::dotPixels(right, uWeights));
    const Reg vs = V::packToWords(V::dotPixels(left, vWeights), V::dotPixels(right, vWeights));
    V::storeHalves(u + x / 2, v + x / 2, V::orderChroma(V::packToBytes(us, vs)));
  }
};

}  // namespace qvs::ucc

// Rows to columns over a vector type. `V` gives the registers and operations of one instruction set.
#pragma once

#include <algorithm>
#include <cstdint>

#include "../Turn.h"

namespace qvs::ucc {

template <class V, class Element>
class TransposeVector {
 public:
  /// Tile by tile, as many source rows under each other as fill a cache line of the target. The last tiles of
  /// a row and of a column overlap those before them.
  static void run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                  uint32_t columns, uint32_t rows) {
    if (columns < kColumns || rows < kRows) {
      return plainTranspose<Element>(src, srcStride, dst, dstStride, columns, rows);
    }
    for (uint32_t top = 0; top < rows; top += kBandRows) {
      const uint32_t bottom = std::min(top + kBandRows, rows);
      for (uint32_t left = 0; left < columns; left += kColumns) {
        const uint32_t x = std::min(left, columns - kColumns);
        for (uint32_t row = top; row < bottom; row += kRows) {
          const uint32_t y = std::min(row, rows - kRows);
          tile(src + y * srcStride + ptrdiff_t{x} * kBytes, srcStride,
               dst + x * dstStride + ptrdiff_t{y} * kBytes, dstStride);
        }
      }
    }
  }

 private:
  using Reg = typename V::Reg;
  static constexpr uint32_t kBytes = sizeof(Element);
  static constexpr uint32_t kLaneBytes = 16;
  static constexpr uint32_t kRows = kLaneBytes / kBytes;
  static constexpr uint32_t kColumns = V::kBytes / kBytes;
  static constexpr uint32_t kBandRows = 64 / kBytes;

  static void tile(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
    Reg rows[kRows];
#pragma GCC unroll 16
    for (uint32_t i = 0; i < kRows; ++i, src += srcStride) {
      V::prefetch(src + V::kBytes);
      rows[i] = V::load(src);
    }
    // Each round moves the highest bit of an element's row to the lowest of its place: after as many rounds
    // as a row number has bits, row and place have changed over.
#pragma GCC unroll 4
    for (uint32_t round = kRows; round > 1; round /= 2) {
      Reg next[kRows];
#pragma GCC unroll 8
      for (uint32_t i = 0; i < kRows / 2; ++i) {
        next[2 * i] = V::template unpackLow<kBytes>(rows[i], rows[i + kRows / 2]);
        next[2 * i + 1] = V::template unpackHigh<kBytes>(rows[i], rows[i + kRows / 2]);
      }
#pragma GCC unroll 16
      for (uint32_t i = 0; i < kRows; ++i) rows[i] = next[i];
    }
#pragma GCC unroll 16
    for (uint32_t i = 0; i < kRows; ++i, dst += dstStride) V::storeLanes(dst, kRows * dstStride, rows[i]);
  }
};

}  // namespace qvs::ucc

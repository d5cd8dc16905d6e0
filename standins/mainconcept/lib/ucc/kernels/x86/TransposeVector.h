// Rows to columns over a vector type. `V` gives the registers and operations of one instruction set.
#pragma once

#include <algorithm>
#include <cstdint>

#include "../Turn.h"

namespace qvs::ucc {

template <class V, class Element>
class TransposeVector {
 public:
  /// Tile by tile, as many under each other as fill a cache line of the target. The last tiles of a row and of a
  /// column overlap those before them.
  static void run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                  uint32_t columns, uint32_t rows) {
    if (columns < kColumns || rows < kRows) {
      return plainTranspose<Element>(src, srcStride, dst, dstStride, columns, rows);
    }
    for (uint32_t top = 0; top < rows; top += kBandRows) {
      const uint32_t bottom = std::min(top + kBandRows, rows);
      for (uint32_t left = 0; left < columns; left += kColumns) {
        const uint32_t x = std::min(left, columns - kColumns);
        if (x + kAhead + kColumns <= columns)
          prefetch(dst + (x + kAhead) * dstStride + top * kBytes, dstStride);
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
  /// A lane of 16 bytes holds a row of a square.
  static constexpr uint32_t kColumns = 16 / kBytes;
  /// Each lane has a square of its own, one under the other.
  static constexpr uint32_t kRows = V::kLanes * kColumns;
  static constexpr uint32_t kBandRows = 64 / kBytes;
  /// Each of a tile's lines lies in a row of its own, where the processor doesn't expect them.
  static constexpr uint32_t kAhead = 2 * kColumns;

  static void prefetch(const uint8_t* dst, ptrdiff_t dstStride) {
    for (uint32_t i = 0; i < kColumns; ++i) __builtin_prefetch(dst + i * dstStride, 1);
  }

  static void tile(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
    Reg rows[kColumns];
#pragma GCC unroll 16
    for (uint32_t i = 0; i < kColumns; ++i) rows[i] = V::loadLanes(src + i * srcStride, kColumns * srcStride);
      // Each round moves the highest bit of an element's row to the lowest of its place in the row: after as
      // many rounds as a row number has bits, the two have changed over.
#pragma GCC unroll 4
    for (uint32_t round = kColumns; round > 1; round /= 2) {
      Reg next[kColumns];
#pragma GCC unroll 8
      for (uint32_t i = 0; i < kColumns / 2; ++i) {
        next[2 * i] = V::template unpackLow<kBytes>(rows[i], rows[i + kColumns / 2]);
        next[2 * i + 1] = V::template unpackHigh<kBytes>(rows[i], rows[i + kColumns / 2]);
      }
#pragma GCC unroll 16
      for (uint32_t i = 0; i < kColumns; ++i) rows[i] = next[i];
    }
#pragma GCC unroll 16
    for (uint32_t i = 0; i < kColumns; ++i) V::store(dst + i * dstStride, rows[i]);
  }
};

}  // namespace qvs::ucc

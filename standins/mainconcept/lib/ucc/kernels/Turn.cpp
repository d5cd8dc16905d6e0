// Turning of planes: the portable transposition, and the choice between forms.
#include "Turn.h"

#include <algorithm>
#include <cstring>

#include "CpuDispatch.h"
#include "KernelTable.h"
#include "Plane.h"

namespace qvs::ucc {
namespace {

/// Of a strip that the cache holds on both sides.
constexpr uint32_t kStripRows = 32;

}  // namespace

template <class Element>
void plainTranspose(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                    uint32_t columns, uint32_t rows) {
  constexpr ptrdiff_t kBytes = sizeof(Element);
  for (uint32_t top = 0; top < rows; top += kStripRows) {
    const uint32_t bottom = std::min(top + kStripRows, rows);
    for (uint32_t x = 0; x < columns; ++x) {
      const uint8_t* from = src + top * srcStride + x * kBytes;
      uint8_t* to = dst + x * dstStride + top * kBytes;
      for (uint32_t y = top; y < bottom; ++y, from += srcStride, to += kBytes) std::memcpy(to, from, kBytes);
    }
  }
}

template void plainTranspose<uint8_t>(const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t, uint32_t, uint32_t);
template void plainTranspose<uint16_t>(const uint8_t*, ptrdiff_t, uint8_t*, ptrdiff_t, uint32_t, uint32_t);

void addPlainTranspose(KernelTable& table) {
  table.transposeBytes = plainTranspose<uint8_t>;
  table.transposePairs = plainTranspose<uint16_t>;
}

void transposePlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                    uint32_t columns, uint32_t rows, uint32_t elementBytes) {
  const KernelTable& table = kernels();
  const auto transpose = elementBytes == 2 ? table.transposePairs : table.transposeBytes;
  transpose(src, srcStride, dst, dstStride, columns, rows);
}

void turnPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, uint32_t columns,
               uint32_t rows, uint32_t elementBytes, Orientation orientation) {
  if (columns == 0 || rows == 0) return;
  if (orientation.rowsReversed) turnOver(src, srcStride, rows);
  if (orientation.transposed) {
    if (orientation.columnsReversed) turnOver(dst, dstStride, columns);
    transposePlane(src, srcStride, dst, dstStride, columns, rows, elementBytes);
  } else if (orientation.columnsReversed) {
    mirrorPlane(src, srcStride, dst, dstStride, columns, rows, elementBytes);
  } else {
    copyPlane(src, srcStride, dst, dstStride, static_cast<size_t>(columns) * elementBytes, rows);
  }
}

}  // namespace qvs::ucc

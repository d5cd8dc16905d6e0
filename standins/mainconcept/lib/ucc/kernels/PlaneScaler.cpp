// Two passes over a plane, in the order that costs less.
#include "PlaneScaler.h"

#include <algorithm>

#include "CpuDispatch.h"
#include "KernelTable.h"
#include "Plane.h"

namespace qvs::ucc {
namespace {

/// Bits of a weight: the first pass keeps its sums in 16 bits by them, the second multiplies 16-bit lines.
constexpr uint32_t kHorizontalBits = 11;
constexpr uint32_t kVerticalBits = 14;
/// Whole vectors are written to, and read from, a line.
constexpr size_t kLineMultiple = 64;
constexpr uint32_t kNoRow = ~0u;

bool inRange(uint32_t size) {
  return size >= 1 && size <= PlaneScaler::kMaxSize;
}

}  // namespace

bool PlaneScaler::configure(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight,
                            uint32_t interleaved) {
  if (!inRange(srcWidth) || !inRange(srcHeight) || !inRange(dstWidth) || !inRange(dstHeight)) return false;
  if (interleaved < 1 || interleaved > 2) return false;
  table = &kernels();
  components = interleaved;
  sameSize = srcWidth == dstWidth && srcHeight == dstHeight;
  if (!horizontal.build(srcWidth, dstWidth, kHorizontalBits)) return false;
  if (!vertical.build(srcHeight, dstHeight, kVerticalBits)) return false;
  if (!gather.build(horizontal, components, table->gatherVector)) return false;

  const bool rowsFirst = vertical.isShort();
  const size_t samples = static_cast<size_t>(rowsFirst ? dstWidth : srcWidth) * components;
  const size_t slots = rowsFirst ? vertical.taps() : 1;
  lineSamples = (samples + kLineMultiple - 1) / kLineMultiple * kLineMultiple;
  if (!lineMemory.allocate(slots * lineSamples * sizeof(int16_t))) return false;
  std::fill_n(lineMemory.as<int16_t>(), slots * lineSamples, int16_t{0});
  return true;
}

void PlaneScaler::run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
  if (sameSize) {
    const size_t rowBytes = static_cast<size_t>(horizontal.dstSize()) * components;
    copyPlane(src, srcStride, dst, dstStride, rowBytes, vertical.dstSize());
  } else if (vertical.isShort()) {
    runRowsFirst(src, srcStride, dst, dstStride);
  } else {
    runColumnsFirst(src, srcStride, dst, dstStride);
  }
}

void PlaneScaler::runRowsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
  const uint32_t taps = vertical.taps();
  const int16_t* lines[FilterBank::kMaxShortTaps];
  std::fill_n(ringRow, taps, kNoRow);
  for (uint32_t y = 0; y < vertical.dstSize(); ++y, dst += dstStride) {
    for (uint32_t t = 0; t < taps; ++t) lines[t] = lineOf(src, srcStride, vertical.start(y) + t);
    table->combineLines(lines, vertical.weights(y), taps, dst, horizontal.dstSize() * components);
  }
}

/// Far down, most rows would be scaled in width only to vanish; so each output row is made first.
void PlaneScaler::runColumnsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst,
                                  ptrdiff_t dstStride) {
  auto* line = lineMemory.as<int16_t>();
  for (uint32_t y = 0; y < vertical.dstSize(); ++y, dst += dstStride) {
    const uint8_t* first = src + static_cast<ptrdiff_t>(vertical.start(y)) * srcStride;
    table->sumRows(first, srcStride, vertical.weights(y), vertical.taps(), line,
                   horizontal.srcSize() * components);
    table->filterLine(horizontal, components, line, dst);
  }
}

/// The source row, scaled in width. Rows that are needed together lie in different slots.
const int16_t* PlaneScaler::lineOf(const uint8_t* src, ptrdiff_t srcStride, uint32_t row) {
  const uint32_t slot = row % vertical.taps();
  int16_t* line = lineMemory.as<int16_t>() + slot * lineSamples;
  uint32_t& held = ringRow[slot];
  if (held != row) {
    held = row;
    table->scaleLine(horizontal, gather, components, src + static_cast<ptrdiff_t>(row) * srcStride, line);
  }
  return line;
}

}  // namespace qvs::ucc

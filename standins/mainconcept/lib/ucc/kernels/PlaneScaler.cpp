// Two passes over a plane, in the order that costs less, and its turns.
#include "PlaneScaler.h"

#include <algorithm>
#include <utility>

#include "CpuDispatch.h"
#include "KernelTable.h"
#include "Turn.h"

namespace qvs::ucc {
namespace {

/// Bits of a weight: the first pass keeps its sums in 16 bits by them, the second multiplies 16-bit lines.
constexpr uint32_t kHorizontalBits = 11;
constexpr uint32_t kVerticalBits = 14;
/// Whole vectors are written to, and read from, a line.
constexpr size_t kLineMultiple = 64;
constexpr uint32_t kNoRow = ~0u;
/// Scaled rows that become columns together: a cache line of each of the target's rows.
constexpr uint32_t kBandRows = 64;
constexpr size_t kCacheLine = 64;

bool inRange(uint32_t size) {
  return size >= 1 && size <= PlaneScaler::kMaxSize;
}

size_t roundUp(size_t value, size_t unit) {
  return (value + unit - 1) / unit * unit;
}

}  // namespace

bool PlaneScaler::configure(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight,
                            uint32_t interleaved, Orientation wanted) {
  if (!inRange(srcWidth) || !inRange(srcHeight) || !inRange(dstWidth) || !inRange(dstHeight)) return false;
  if (interleaved < 1 || interleaved > 2) return false;
  table = &kernels();
  components = interleaved;
  orientation = wanted;
  if (orientation.transposed) std::swap(dstWidth, dstHeight);
  sameSize = srcWidth == dstWidth && srcHeight == dstHeight;
  // Where rows become columns, reversed columns are rows of the target from the last one up.
  const bool reversedOutputs = orientation.columnsReversed && !orientation.transposed;
  if (!horizontal.build(srcWidth, dstWidth, kHorizontalBits, reversedOutputs)) return false;
  if (!vertical.build(srcHeight, dstHeight, kVerticalBits)) return false;
  if (!gather.build(horizontal, components, table->gatherVector)) return false;
  return allocateScratch();
}

bool PlaneScaler::allocateScratch() {
  const bool rowsFirst = vertical.isShort();
  const size_t samples = static_cast<size_t>(rowsFirst ? horizontal.dstSize() : horizontal.srcSize());
  const size_t slots = rowsFirst ? vertical.taps() : 1;
  lineSamples = roundUp(samples * components, kLineMultiple);
  if (!lineMemory.allocate(slots * lineSamples * sizeof(int16_t))) return false;
  std::fill_n(lineMemory.as<int16_t>(), slots * lineSamples, int16_t{0});
  if (!orientation.transposed || sameSize) return true;
  // An odd number of cache lines: else the rows of a band would fight for the same places of the cache.
  bandStride = (roundUp(rowBytes(), kCacheLine) / kCacheLine | 1) * kCacheLine;
  return band.allocate(bandStride * std::min(2 * kBandRows, vertical.dstSize()));
}

void PlaneScaler::run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
  if (sameSize) {
    turnPlane(src, srcStride, dst, dstStride, horizontal.dstSize(), vertical.dstSize(), components,
              orientation);
    return;
  }
  if (orientation.rowsReversed) turnOver(src, srcStride, vertical.srcSize());
  if (orientation.transposed) {
    runTransposed(src, srcStride, dst, dstStride);
  } else {
    scaleRows(src, srcStride, dst, dstStride, 0, vertical.dstSize());
  }
}

void PlaneScaler::runTransposed(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
  const uint32_t rows = vertical.dstSize();
  if (orientation.columnsReversed) turnOver(dst, dstStride, horizontal.dstSize());
  auto* scaled = band.as<uint8_t>();
  const auto scaledStride = static_cast<ptrdiff_t>(bandStride);
  for (uint32_t first = 0, end = 0; first < rows; first = end) {
    // The last band takes what would be too little for whole tiles.
    end = rows - first < 2 * kBandRows ? rows : first + kBandRows;
    scaleRows(src, srcStride, scaled, scaledStride, first, end);
    transposePlane(scaled, scaledStride, dst + static_cast<size_t>(first) * components, dstStride,
                   horizontal.dstSize(), end - first, components);
  }
}

void PlaneScaler::scaleRows(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                            uint32_t first, uint32_t end) {
  if (vertical.isShort()) {
    scaleRowsFirst(src, srcStride, dst, dstStride, first, end);
  } else {
    scaleColumnsFirst(src, srcStride, dst, dstStride, first, end);
  }
}

void PlaneScaler::scaleRowsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                                 uint32_t first, uint32_t end) {
  const uint32_t taps = vertical.taps();
  const int16_t* lines[FilterBank::kMaxShortTaps];
  if (first == 0) std::fill_n(ringRow, taps, kNoRow);
  for (uint32_t y = first; y < end; ++y, dst += dstStride) {
    for (uint32_t t = 0; t < taps; ++t) lines[t] = lineOf(src, srcStride, vertical.start(y) + t);
    table->combineLines(lines, vertical.weights(y), taps, dst, horizontal.dstSize() * components);
  }
}

/// Far down, most rows would be scaled in width only to vanish; so each output row is made first.
void PlaneScaler::scaleColumnsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst,
                                    ptrdiff_t dstStride, uint32_t first, uint32_t end) {
  auto* line = lineMemory.as<int16_t>();
  for (uint32_t y = first; y < end; ++y, dst += dstStride) {
    const uint8_t* top = src + static_cast<ptrdiff_t>(vertical.start(y)) * srcStride;
    table->sumRows(top, srcStride, vertical.weights(y), vertical.taps(), line,
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

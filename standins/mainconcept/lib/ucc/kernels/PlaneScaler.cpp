// The separable bicubic scaler of one plane.
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
                            uint32_t components) {
  if (!inRange(srcWidth) || !inRange(srcHeight) || !inRange(dstWidth) || !inRange(dstHeight)) return false;
  if (components < 1 || components > 2) return false;
  kernels_ = &kernels();
  components_ = components;
  sameSize_ = srcWidth == dstWidth && srcHeight == dstHeight;
  if (!horizontal_.build(srcWidth, dstWidth, kHorizontalBits)) return false;
  if (!vertical_.build(srcHeight, dstHeight, kVerticalBits)) return false;
  if (!gather_.build(horizontal_, components, kernels_->gatherVectorBytes, kernels_->gatherUnitBytes))
    return false;

  const bool rowsFirst = vertical_.isShort();
  const size_t samples = static_cast<size_t>(rowsFirst ? dstWidth : srcWidth) * components;
  const size_t slots = rowsFirst ? vertical_.taps() : 1;
  lineSamples_ = (samples + kLineMultiple - 1) / kLineMultiple * kLineMultiple;
  if (!lines_.allocate(slots * lineSamples_ * sizeof(int16_t))) return false;
  std::fill_n(lines_.as<int16_t>(), slots * lineSamples_, int16_t{0});
  return true;
}

void PlaneScaler::run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
  if (sameSize_) {
    const size_t rowBytes = static_cast<size_t>(horizontal_.dstSize()) * components_;
    copyPlane(src, srcStride, dst, dstStride, rowBytes, vertical_.dstSize());
  } else if (vertical_.isShort()) {
    runRowsFirst(src, srcStride, dst, dstStride);
  } else {
    runColumnsFirst(src, srcStride, dst, dstStride);
  }
}

void PlaneScaler::runRowsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride) {
  const uint32_t taps = vertical_.taps();
  const int16_t* lines[FilterBank::kMaxShortTaps];
  std::fill_n(ringRow_, taps, kNoRow);
  for (uint32_t y = 0; y < vertical_.dstSize(); ++y, dst += dstStride) {
    for (uint32_t t = 0; t < taps; ++t) lines[t] = lineOf(src, srcStride, vertical_.start(y) + t);
    kernels_->combineLines(lines, vertical_.weights(y), taps, dst, horizontal_.dstSize() * components_);
  }
}

/// Far down, most rows would be scaled in width only to vanish; so each output row is made first.
void PlaneScaler::runColumnsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst,
                                  ptrdiff_t dstStride) {
  auto* line = lines_.as<int16_t>();
  for (uint32_t y = 0; y < vertical_.dstSize(); ++y, dst += dstStride) {
    const uint8_t* first = src + static_cast<ptrdiff_t>(vertical_.start(y)) * srcStride;
    kernels_->sumRows(first, srcStride, vertical_.weights(y), vertical_.taps(), line,
                      horizontal_.srcSize() * components_);
    kernels_->filterLine(horizontal_, components_, line, dst);
  }
}

/// The source row, scaled in width. Rows that are needed together lie in different slots.
const int16_t* PlaneScaler::lineOf(const uint8_t* src, ptrdiff_t srcStride, uint32_t row) {
  const uint32_t slot = row % vertical_.taps();
  int16_t* line = lines_.as<int16_t>() + slot * lineSamples_;
  uint32_t& held = ringRow_[slot];
  if (held != row) {
    held = row;
    kernels_->scaleLine(horizontal_, gather_, components_, src + static_cast<ptrdiff_t>(row) * srcStride,
                        line);
  }
  return line;
}

}  // namespace qvs::ucc

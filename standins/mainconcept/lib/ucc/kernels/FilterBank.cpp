// Computes and quantises filter weights.
#include "FilterBank.h"

#include <algorithm>
#include <cmath>

namespace qvs::ucc {
namespace {

constexpr double kSupport = 2.0;

/// Keys' cubic convolution kernel.
double cubic(double x) {
  constexpr double a = FilterBank::kCubic;
  x = std::fabs(x);
  if (x < 1) return ((a + 2) * x - (a + 3)) * x * x + 1;
  if (x < 2) return ((a * x - 5 * a) * x + 8 * a) * x - 4 * a;
  return 0;
}

/// The input positions under the kernel of one output, before edges are considered.
struct Window {
  double centre;
  double scale;  ///< input samples for one unit of the kernel
  int64_t begin;
  int64_t end;

  Window(uint32_t output, uint32_t srcSize, uint32_t dstSize) {
    const double ratio = static_cast<double>(srcSize) / dstSize;
    centre = (output + 0.5) * ratio - 0.5;
    scale = std::max(ratio, 1.0);
    begin = static_cast<int64_t>(std::ceil(centre - kSupport * scale));
    end = static_cast<int64_t>(std::floor(centre + kSupport * scale)) + 1;
  }
  double weight(int64_t position) const { return cubic((static_cast<double>(position) - centre) / scale); }
};

}  // namespace

/// Quantises one output's weights into row[0 .. window length), which starts at the first position inside the
/// input. The rounding error is carried on, so that the sum is exact.
FilterBank::Span FilterBank::fillRow(uint32_t output, int16_t* row) const {
  const Window window(output, inputs, outputs);
  double sum = 0;
  for (int64_t p = window.begin; p < window.end; ++p) sum += window.weight(p);

  const int64_t last = int64_t{inputs} - 1;
  const int64_t origin = std::clamp<int64_t>(window.begin, 0, last);
  const int64_t end = std::clamp<int64_t>(window.end - 1, 0, last) + 1;
  std::fill_n(row, end - origin, int16_t{0});
  const double unit = static_cast<double>(1 << fractionBits) / sum;
  double carried = 0;
  for (int64_t p = window.begin; p < window.end; ++p) {
    const double wanted = window.weight(p) * unit + carried;
    const double rounded = std::nearbyint(wanted);
    carried = wanted - rounded;
    row[std::clamp<int64_t>(p, 0, last) - origin] += static_cast<int16_t>(rounded);
  }

  uint32_t first = 0;
  uint32_t count = static_cast<uint32_t>(end - origin);
  while (count > 1 && row[first + count - 1] == 0) --count;
  for (; count > 1 && row[first] == 0; ++first) --count;
  std::copy_n(row + first, count, row);
  return {static_cast<uint32_t>(origin) + first, count};
}

bool FilterBank::build(uint32_t srcSize, uint32_t dstSize, uint32_t shortBits, bool reversed) {
  inputs = srcSize;
  outputs = dstSize;
  const double scale = std::max(1.0, static_cast<double>(srcSize) / dstSize);
  const auto windowSize = static_cast<uint32_t>(2 * kSupport * scale) + 2;
  AlignedBuffer scratch;
  if (!scratch.allocate(windowSize * sizeof(int16_t))) return false;
  auto* row = scratch.as<int16_t>();

  fewTaps = 2 * kSupport * scale <= kMaxShortTaps;
  fractionBits = fewTaps ? shortBits : kWideBits;
  tapCount = 1;
  for (uint32_t i = 0; i < dstSize; ++i) tapCount = std::max(tapCount, fillRow(i, row).count);
  fewTaps = fewTaps && tapCount <= kMaxShortTaps;
  rowWeights = fewTaps ? tapCount : (tapCount + kWideMultiple - 1) / kWideMultiple * kWideMultiple;

  if (!startMemory.allocate(dstSize * sizeof(uint32_t))) return false;
  if (!weightMemory.allocate(static_cast<size_t>(dstSize) * rowWeights * sizeof(int16_t))) return false;
  for (uint32_t i = 0; i < dstSize; ++i) {
    const Span span = fillRow(reversed ? dstSize - 1 - i : i, row);
    const uint32_t start = std::min(span.first, srcSize - tapCount);
    int16_t* out = weightMemory.as<int16_t>() + static_cast<size_t>(i) * rowWeights;
    std::fill_n(out, rowWeights, int16_t{0});
    std::copy_n(row, span.count, out + (span.first - start));
    startMemory.as<uint32_t>()[i] = start;
  }
  return true;
}

}  // namespace qvs::ucc

// The portable forms of the scaler's kernels.
#include "PlainScaler.h"

#include <algorithm>

#include "KernelTable.h"

namespace qvs::ucc {
namespace {

uint8_t saturate(int value) {
  return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

/// High half of the doubled product, rounded, as the vector instruction of that kind has it.
int multiplyHighRounded(int a, int b) {
  return (a * b + 0x4000) >> 15;
}

}  // namespace

void plainScaleLine(const FilterBank& filter, const GatherPlan&, uint32_t components, const uint8_t* src,
                    int16_t* line) {
  const int shift = static_cast<int>(filter.bits()) - kLineBits;
  for (uint32_t i = 0; i < filter.dstSize(); ++i) {
    const int16_t* weights = filter.weights(i);
    const uint8_t* first = src + static_cast<size_t>(filter.start(i)) * components;
    for (uint32_t c = 0; c < components; ++c) {
      int sum = 1 << (shift - 1);
      for (uint32_t t = 0; t < filter.taps(); ++t) sum += weights[t] * first[t * components + c];
      line[i * components + c] = static_cast<int16_t>(sum >> shift);
    }
  }
}

void plainCombineLines(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint8_t* dst,
                       uint32_t samples) {
  for (uint32_t x = 0; x < samples; ++x) {
    int sum = 1 << (kSumBits - 1);
    for (uint32_t t = 0; t < taps; ++t) sum += multiplyHighRounded(lines[t][x], weights[t]);
    dst[x] = saturate(sum >> kSumBits);
  }
}

void plainSumRows(const uint8_t* src, ptrdiff_t stride, const int16_t* weights, uint32_t taps, int16_t* line,
                  uint32_t samples) {
  constexpr int kShift = static_cast<int>(FilterBank::kWideBits) - kLineBits;
  for (uint32_t x = 0; x < samples; ++x) {
    int sum = 1 << (kShift - 1);
    for (uint32_t t = 0; t < taps; ++t) sum += weights[t] * src[static_cast<ptrdiff_t>(t) * stride + x];
    line[x] = static_cast<int16_t>(sum >> kShift);
  }
}

void plainFilterLine(const FilterBank& filter, uint32_t components, const int16_t* line, uint8_t* dst) {
  const int shift = static_cast<int>(filter.bits()) + kLineBits;
  for (uint32_t i = 0; i < filter.dstSize(); ++i) {
    const int16_t* weights = filter.weights(i);
    const int16_t* first = line + static_cast<size_t>(filter.start(i)) * components;
    for (uint32_t c = 0; c < components; ++c) {
      int sum = 1 << (shift - 1);
      for (uint32_t t = 0; t < filter.taps(); ++t) sum += weights[t] * first[t * components + c];
      dst[i * components + c] = saturate(sum >> shift);
    }
  }
}

void addPlainScaler(KernelTable& table) {
  table.gatherVector = {};
  table.scaleLine = plainScaleLine;
  table.combineLines = plainCombineLines;
  table.sumRows = plainSumRows;
  table.filterLine = plainFilterLine;
}

}  // namespace qvs::ucc

// Rows of one plane converted to a row of 8-bit 4:2:0.
#include "video/SampleRows.h"

#include <algorithm>
#include <cstring>

namespace qvs::mc {

namespace {

constexpr uint32_t kMixBits = 16;

template <bool kHalve, bool kMerge>
constexpr uint32_t kFilterBits = (kHalve ? 2 : 0) + (kMerge ? 1 : 0);

template <typename Sample, bool kMerge>
uint32_t columnAt(const SampleRows& rows, size_t column) {
  const uint32_t first = reinterpret_cast<const Sample*>(rows.first)[column];
  return kMerge ? first + reinterpret_cast<const Sample*>(rows.second)[column] : first;
}

/// The weighted sum of the samples that make one; the edges repeat.
template <typename Sample, bool kHalve, bool kMerge>
uint32_t sumAt(const SampleRows& rows, size_t index) {
  if constexpr (!kHalve) return columnAt<Sample, kMerge>(rows, index);
  const size_t at = std::min(2 * index, rows.width - 1);
  const size_t before = at != 0 ? at - 1 : 0;
  const size_t after = std::min(at + 1, rows.width - 1);
  return columnAt<Sample, kMerge>(rows, before) + 2 * columnAt<Sample, kMerge>(rows, at) +
         columnAt<Sample, kMerge>(rows, after);
}

template <typename Sample, bool kHalve, bool kMerge>
void convert(const SampleRows& rows, uint32_t depth, uint8_t* to, size_t count) {
  const uint32_t shift = depth - 8 + kFilterBits<kHalve, kMerge>;
  const uint32_t half = shift != 0 ? 1u << (shift - 1) : 0;
  for (size_t i = 0; i < count; ++i) {
    const uint32_t sum = sumAt<Sample, kHalve, kMerge>(rows, i);
    to[i] = static_cast<uint8_t>(std::min((sum + half) >> shift, 255u));
  }
}

template <typename Sample, bool kHalve, bool kMerge>
void mixRows(const std::array<SampleRows, 3>& rows, const SampleMix& mix, uint32_t depth, uint8_t* to,
             size_t count) {
  const uint32_t shift = kMixBits + depth - 8 + kFilterBits<kHalve, kMerge>;
  const int64_t start = (int64_t{mix.offset} << shift) + (int64_t{1} << (shift - 1));
  for (size_t i = 0; i < count; ++i) {
    int64_t sum = start;
    for (size_t plane = 0; plane < rows.size(); ++plane)
      sum += int64_t{mix.weights[plane]} * sumAt<Sample, kHalve, kMerge>(rows[plane], i);
    to[i] = static_cast<uint8_t>(std::clamp<int64_t>(sum >> shift, 0, 255));
  }
}

void copyBytes(const SampleRows& rows, uint32_t, uint8_t* to, size_t count) {
  std::memcpy(to, rows.first, count);
}

template <typename Sample>
constexpr RowKernel kConversions[2][2] = {{convert<Sample, false, false>, convert<Sample, false, true>},
                                          {convert<Sample, true, false>, convert<Sample, true, true>}};
template <typename Sample>
constexpr MixKernel kMixes[2][2] = {{mixRows<Sample, false, false>, mixRows<Sample, false, true>},
                                    {mixRows<Sample, true, false>, mixRows<Sample, true, true>}};

}  // namespace

RowKernel rowKernel(uint32_t depth, bool halveColumns, bool mergeRows) {
  if (depth > 8) return kConversions<uint16_t>[halveColumns][mergeRows];
  return halveColumns || mergeRows ? kConversions<uint8_t>[halveColumns][mergeRows] : copyBytes;
}

MixKernel mixKernel(uint32_t depth, bool halveColumns, bool mergeRows) {
  return (depth > 8 ? kMixes<uint16_t> : kMixes<uint8_t>)[halveColumns][mergeRows];
}

}  // namespace qvs::mc

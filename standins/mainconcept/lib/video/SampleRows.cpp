// Rows of one plane converted to a row of 8-bit 4:2:0.
#include "video/SampleRows.h"

#include <algorithm>
#include <cstring>

namespace qvs::mc {

namespace {

template <typename Sample, bool kHalve, bool kMerge>
void convert(const SampleRows& rows, uint32_t depth, uint8_t* to, size_t count) {
  const auto* a = reinterpret_cast<const Sample*>(rows.first);
  const auto* b = reinterpret_cast<const Sample*>(rows.second);
  const uint32_t shift = depth - 8 + (kHalve ? 2 : 0) + (kMerge ? 1 : 0);
  const uint32_t half = shift != 0 ? 1u << (shift - 1) : 0;
  const auto sumAt = [&](size_t i) -> uint32_t { return kMerge ? uint32_t{a[i]} + b[i] : uint32_t{a[i]}; };
  const auto store = [&](size_t i, uint32_t sum) {
    to[i] = static_cast<uint8_t>(std::min((sum + half) >> shift, 255u));
  };
  if constexpr (!kHalve) {
    for (size_t i = 0; i < count; ++i) store(i, sumAt(i));
  } else {
    const size_t inner = std::min(count, rows.width / 2);
    for (size_t i = 0; i < count; ++i) {
      const size_t at = std::min(2 * i, rows.width - 1);
      const size_t before = at != 0 ? at - 1 : 0;
      const size_t after = i < inner ? at + 1 : at;
      store(i, sumAt(before) + 2 * sumAt(at) + sumAt(after));
    }
  }
}

void copyBytes(const SampleRows& rows, uint32_t, uint8_t* to, size_t count) {
  std::memcpy(to, rows.first, count);
}

template <typename Sample>
constexpr RowKernel kKernels[2][2] = {{convert<Sample, false, false>, convert<Sample, false, true>},
                                      {convert<Sample, true, false>, convert<Sample, true, true>}};

}  // namespace

RowKernel rowKernel(uint32_t depth, bool halveColumns, bool mergeRows) {
  if (depth > 8) return kKernels<uint16_t>[halveColumns][mergeRows];
  return halveColumns || mergeRows ? kKernels<uint8_t>[halveColumns][mergeRows] : copyBytes;
}

}  // namespace qvs::mc

// The last chroma column and row of odd sizes, filled from their neighbors.
#include "frames/OddChroma.h"

#include <cstddef>
#include <cstring>

#include "frames/geometry/ChromaShape.h"

namespace qvs {
namespace {

constexpr uint8_t kNoChroma = 128;

/// `count` bytes from a neighbour, or no color where there is none.
void copyOrClear(uint8_t* to, const uint8_t* from, size_t count) {
  if (from != nullptr) {
    std::memcpy(to, from, count);
  } else {
    std::memset(to, kNoChroma, count);
  }
}

}  // namespace

void completeOddChroma(const frame_tt& frame) {
  const ChromaShape* shape = findChromaShape(frame.four_cc);
  if (shape == nullptr) return;
  const bool oddWidth = frame.width % 2 != 0;
  const bool oddHeight = shape->halfHeight && frame.height % 2 != 0;
  const size_t step = shape->bytes;
  const size_t columnAt = frame.width / 2 * step;
  const uint32_t rows = shape->halfHeight ? frame.height / 2 : frame.height;
  for (uint32_t plane = 1; plane < 3 && frame.plane[plane] != nullptr; ++plane) {
    const ptrdiff_t stride = frame.stride[plane];
    for (uint32_t row = 0; oddWidth && row < rows; ++row) {
      uint8_t* sample = frame.plane[plane] + row * stride + columnAt;
      copyOrClear(sample, columnAt != 0 ? sample - step : nullptr, step);
    }
    if (!oddHeight) continue;
    uint8_t* last = frame.plane[plane] + rows * stride;
    copyOrClear(last, rows != 0 ? last - stride : nullptr, columnAt + (oddWidth ? step : 0));
  }
}

}  // namespace qvs

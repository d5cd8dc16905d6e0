#include "frames/OddChroma.h"

#include <cstddef>
#include <cstring>

#include "frames/geometry/ChromaShape.h"

namespace qvs {
namespace {

constexpr uint8_t kNoChroma = 128;

/// `count` bytes from another place, or no colour where there is none.
void copyOrClear(uint8_t* to, const uint8_t* from, size_t count) {
  if (from != nullptr) {
    std::memcpy(to, from, count);
  } else {
    std::memset(to, kNoChroma, count);
  }
}

}  // namespace

void OddChroma::complete(const frame_tt* source) const {
  const ChromaShape* shape = findChromaShape(frame.four_cc);
  if (shape == nullptr) return;
  const bool oddWidth = frame.width % 2 != 0;
  const bool oddHeight = shape->halfHeight && frame.height % 2 != 0;
  if (!oddWidth && !oddHeight) return;
  const size_t step = shape->bytes;
  const size_t columnAt = frame.width / 2 * step;
  const uint32_t rows = shape->halfHeight ? frame.height / 2 : frame.height;
  for (uint32_t plane = 1; plane < 3 && frame.plane[plane] != nullptr; ++plane) {
    const ptrdiff_t stride = frame.stride[plane];
    uint8_t* const to = frame.plane[plane];
    const uint8_t* const from = source != nullptr ? source->plane[plane] : nullptr;
    const ptrdiff_t fromStride = source != nullptr ? source->stride[plane] : 0;
    for (uint32_t row = 0; oddWidth && row < rows; ++row) {
      uint8_t* sample = to + row * stride + columnAt;
      const uint8_t* neighbour = columnAt != 0 ? sample - step : nullptr;
      copyOrClear(sample, from != nullptr ? from + row * fromStride + columnAt : neighbour, step);
    }
    if (!oddHeight) continue;
    uint8_t* last = to + rows * stride;
    const uint8_t* above = rows != 0 ? last - stride : nullptr;
    copyOrClear(last, from != nullptr ? from + rows * fromStride : above, columnAt + (oddWidth ? step : 0));
  }
}

}  // namespace qvs

#include "PlaneHalver.h"

#include <algorithm>
#include <new>

namespace qvs::intrinsic {

bool PlaneHalver::reserve(size_t width) {
  if (width <= reserved) return true;
  scratch.reset(new (std::nothrow) int16_t[width + 2 * kTapMargin]);
  reserved = scratch != nullptr ? width : 0;
  return scratch != nullptr;
}

void PlaneHalver::halve(const uint8_t* source, size_t sourceStride, uint8_t* target, size_t targetStride,
                        size_t width, size_t height) {
  int16_t* const kept = scratch.get() + kTapMargin;
  const auto lastRow = static_cast<ptrdiff_t>(2 * height - 1);
  for (size_t row = 0; row < height; ++row) {
    const uint8_t* rows[6];
    for (ptrdiff_t tap = 0; tap < 6; ++tap) {
      const ptrdiff_t line = static_cast<ptrdiff_t>(2 * row) + tap - 2;
      rows[tap] = source + std::clamp<ptrdiff_t>(line, 0, lastRow) * static_cast<ptrdiff_t>(sourceStride);
    }
    kernels.halveRows(rows, kept, 2 * width);
    std::fill(kept - kTapMargin, kept, kept[0]);
    std::fill_n(kept + 2 * width, kTapMargin, kept[2 * width - 1]);
    kernels.halveColumns(kept, target + row * targetStride, width);
  }
}

}  // namespace qvs::intrinsic

// Halving one plane: rows first, then columns, with the edge samples repeated.
#include "PlaneHalver.h"

#include <algorithm>
#include <new>

#include "HalfFilter.h"

namespace qvs::intrinsic {

bool PlaneHalver::reserve(size_t width) {
  if (width <= reserved) return true;
  scratch.reset(new (std::nothrow) int16_t[width + 2 * kTapMargin]);
  reserved = scratch != nullptr ? width : 0;
  return scratch != nullptr;
}

void PlaneHalver::halve(const Plane& source, const Plane& target) {
  int16_t* const kept = scratch.get() + kTapMargin;
  for (size_t row = 0; row < target.height; ++row) {
    const uint8_t* rows[6];
    for (size_t tap = 0; tap < 6; ++tap) {
      const size_t line = 2 * row + tap;  // two too high, which keeps it above 0
      rows[tap] = source.samples + std::min(std::max<size_t>(line, 2) - 2, source.height - 1) * source.stride;
    }
    kernels.halveRows(rows, kept, source.width);
    std::fill(kept - kTapMargin, kept, kept[0]);
    std::fill_n(kept + source.width, kTapMargin, kept[source.width - 1]);
    kernels.halveColumns(kept, target.samples + row * target.stride, target.width);
  }
}

}  // namespace qvs::intrinsic

// Parts of pictures as pictures of their own.
#include "ucc/PictureRect.h"

namespace qvs::ucc {
namespace {

constexpr int kFractionBits = 8;

}  // namespace

bool narrowTo(const ucc_rect_t& part, const PixelFormat& format, ucc_frame_t& frame) {
  const int32_t left = part.left >> kFractionBits;
  const int32_t top = part.top >> kFractionBits;
  const int32_t right = part.right >> kFractionBits;
  const int32_t bottom = part.bottom >> kFractionBits;
  if (left < 0 || top < 0 || right < left || bottom < top || right >= static_cast<int32_t>(frame.width) ||
      bottom >= static_cast<int32_t>(frame.height)) {
    return false;
  }
  const auto x = static_cast<uint32_t>(left);
  const auto y = static_cast<uint32_t>(top);
  if (x % format.plane[0].groupSamples != 0) return false;
  frame.width = static_cast<uint32_t>(right - left) + 1;
  frame.height = static_cast<uint32_t>(bottom - top) + 1;
  for (int p = 0; p < format.planes; ++p) {
    if (frame.plane[p] == nullptr) continue;
    frame.plane[p] += static_cast<int64_t>(frame.stride[p]) * format.rowsOf(p, y) + format.rowBytes(p, x);
  }
  return true;
}

}  // namespace qvs::ucc

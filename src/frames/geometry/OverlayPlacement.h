#pragma once

#include <cstdint>

#include "frames/geometry/FitPlacement.h"

namespace qvs {

/// Where an overlay hangs. Left and top are what remains when neither of the others is set.
enum OverlayAlign : uint32_t {
  kAlignLeft = 1,
  kAlignCenter = 2,
  kAlignRight = 4,
  kAlignTop = 16,
  kAlignMiddle = 32,
  kAlignBottom = 64,
};

/// What an overlay asks for: pixels from its anchor, and its size on the picture.
struct OverlayRequest {
  int32_t x = 0;
  int32_t y = 0;
  PixelSize size;
  uint32_t align = kAlignLeft | kAlignTop;  ///< OverlayAlign
};

struct OverlayPlacement {
  int64_t x = 0;  ///< top left pixel; the overlay may reach outside of the picture
  int64_t y = 0;
  int64_t insetX = 0;  ///< the same where an offset from the right or the bottom counts inwards
  int64_t insetY = 0;
  PixelRect clamped;  ///< moved inside
  bool fits = false;  ///< false: larger than the picture even so
};

OverlayPlacement placeOverlay(PixelSize picture, const OverlayRequest& request);

}  // namespace qvs

#pragma once

#include <cstdint>

#include "frames/geometry/FitPlacement.h"

namespace qvs {

/// How a picture is shown that was coded otherwise: mirrored from left to right, then turned clockwise by a
/// quarter, a half, or both.
struct PictureTurn {
  bool mirror = false;
  bool quarter = false;
  bool half = false;

  /// What the scale flags of the picture's set ask for.
  static PictureTurn of(uint64_t scaleFlags);

  PixelSize shownSize(PixelSize coded) const;
  /// The part of a coded picture of size `coded` that is shown in `shown`, which may reach outside.
  PixelRect codedRect(const PixelRect& shown, PixelSize coded) const;
  /// The same for the converter: bits of ucc_orientation_e.
  uint32_t orientation() const;
};

}  // namespace qvs

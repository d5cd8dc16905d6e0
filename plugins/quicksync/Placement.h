#pragma once

#include <vpl/mfx.h>

#include <cstdint>

#include "DecoderSession.h"

namespace qvs::plugins {

/// A part of a picture, on even columns and rows.
struct Part {
  uint32_t x, y, width, height;

  bool operator==(const Part&) const = default;
  void putInto(mfxFrameInfo& info) const {
    info.CropX = static_cast<mfxU16>(x);
    info.CropY = static_cast<mfxU16>(y);
    info.CropW = static_cast<mfxU16>(width);
    info.CropH = static_cast<mfxU16>(height);
  }
};

/// What of a picture is shown, and where: fit mode 1 puts all of it between bars, 4 fills and cuts off what stands over,
/// any other stretches.
struct Placement {
  Part from, to;

  bool operator==(const Placement&) const = default;
};

/// Into a picture of `width` and `height`.
Placement place(const StreamInfo& stream, uint32_t fitMode, uint32_t width, uint32_t height);

}  // namespace qvs::plugins

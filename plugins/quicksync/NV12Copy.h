#pragma once

#include <vpl/mfx.h>

#include "DecoderSession.h"
#include "EncoderSession.h"

namespace qvs::plugins {

/// Copies a picture into a surface of its size or larger; what the surface has beyond, up to its full size, repeats the
/// picture's edge.
void copyToSurface(const Picture& picture, mfxFrameSurface1& surface);

/// Copies the cropped picture of a surface; `width` and `height` are even and lie inside the surface.
void copyFromSurface(const mfxFrameSurface1& surface, uint32_t width, uint32_t height,
                     const PictureTarget& target);

}  // namespace qvs::plugins

#pragma once

#include <vpl/mfx.h>

#include "DecoderSession.h"
#include "EncoderSession.h"

namespace qvs::plugins {

/// Copies as much of a picture as the surface shows, which is even; what the surface has beyond, up to its full size,
/// repeats the edge.
void copyToSurface(const Picture& picture, mfxFrameSurface1& surface);

/// Copies the cropped picture of a surface; `width` and `height` are even and lie inside the surface.
void copyFromSurface(const mfxFrameSurface1& surface, uint32_t width, uint32_t height,
                     const PictureTarget& target);

}  // namespace qvs::plugins

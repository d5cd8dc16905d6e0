#pragma once

#include "ucc/PixelFormat.h"

namespace qvs::ucc {

/// Narrows a sound picture to a part of it. False, with the picture untouched, where the part is empty, not inside of
/// the picture, or halves a group of packed pixels.
bool narrowTo(const ucc_rect_t& part, const PixelFormat& format, ucc_frame_t& frame);

}  // namespace qvs::ucc

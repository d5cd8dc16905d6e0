#pragma once

#include <cstdint>
#include <memory>

#include "mc_frame.h"

// Copies of a picture in other shapes.

namespace qvs {

/// "BGRA", tight rows, by a converter instance. A width or height of 0 follows from the other by the
/// picture's aspect; both 0: the picture's size. `out` and `size` may be null. Where `*out` is null it is
/// malloc'ed and the caller frees it; else it must hold width x height x 4 bytes. 1 where it can't be
/// converted.
uint32_t copyToBGRA(const frame_tt& picture, void* converter, uint8_t** out, uint32_t* size, uint32_t* width,
                    uint32_t* height);

/// Appends the planes to a file, for debugging. `end`: of the block that holds them.
uint32_t appendPlanesToFile(const frame_tt& picture, const uint8_t* end, const char* path);

/// Every fourth byte from `component` on of width x height packed pixels. Empty for bad arguments.
std::unique_ptr<uint8_t[]> extractComponent(const uint8_t* data, int32_t width, int32_t height,
                                            int32_t component);

}  // namespace qvs

#pragma once

#include <cstddef>
#include <cstdint>

#include "mc_frame.h"

namespace qvs {

/// How a pool frame lies in host memory.
struct HostLayout {
  int32_t stride = 0;        ///< bytes of the first plane; negative for bottom-up formats
  int32_t startOffset = 0;   ///< bytes to the first row
  uint64_t size = 0;         ///< bytes by the format's rule; 0 for a format without one
  uint64_t storageSize = 0;  ///< bytes that the planes really need; at least `size`
};

/// The largest picture that a frame takes, exclusive, in pixels.
inline constexpr uint64_t kFramePixelsLimit = 35389441;

/// Width x height must be below kFramePixelsLimit.
HostLayout hostLayout(uint32_t width, uint32_t height, uint32_t fourcc);

/// Points the planes of a frame of this size into `memory`, in the order in which the format has them there.
void layOutPlanes(frame_tt* frame, uint32_t width, uint32_t height, uint32_t fourcc, const HostLayout& layout,
                  uint8_t* memory);

}  // namespace qvs

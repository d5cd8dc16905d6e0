#pragma once

#include <cstddef>
#include <cstdint>

#include "frames/FrameMemory.h"
#include "mc_frame.h"

namespace qvs {

/// A picture at a power-of-two fraction of its size. Kept from picture to picture.
struct VideoFrameBufferFractionalFrame {
  frame_tt frame{};
  FrameMemory buffer;
  size_t frame_size = 0;  ///< bytes
  uint8_t available = 0;  ///< 0: holds nothing of the current picture
};

}  // namespace qvs

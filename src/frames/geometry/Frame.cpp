// Filling a converter frame with a layout over its own memory.
#include "frames/geometry/Frame.h"

namespace qvs {

void Frame::fill(const mc_frame_colorspace_info_t& info) {
  buffer.resize(info.frame_size);
  UCC_InitFrameBuffer(&frame, buffer.data(), &info);
}

}  // namespace qvs

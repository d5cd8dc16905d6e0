#pragma once

#include <vpx/vpx_image.h>

#include <memory>

namespace qvs {

class VideoFrameBufferAllocation;

/// One frame on its way into libvpx.
struct VPXEncodeJob {
  vpx_image_t image{};                               ///< view of the frame's planes
  uint32_t fourcc = 0;                               ///< the frame's
  uint32_t frameType = 0;                            ///< 1 requests a key frame
  uint64_t timecode = 0;                             ///< milliseconds
  std::shared_ptr<VideoFrameBufferAllocation> hold;  ///< keeps the frame out of its pool while it is read
};

}  // namespace qvs

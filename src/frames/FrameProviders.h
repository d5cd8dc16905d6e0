#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace qvs {

class VideoFrameBuffer;

/// Allocates a frame's storage in a stage's own memory: frame, width, height, fourCC, clear, result. Gives
/// true when it served the request, with the status in `result`; false leaves the allocation to the frame.
using FrameAllocProvider = std::shared_ptr<std::function<bool(VideoFrameBuffer&, unsigned int, unsigned int,
                                                              unsigned int, unsigned char, unsigned int&)>>;

/// Releases what the alloc provider gave; false when it could not.
using FrameFreeProvider = std::shared_ptr<std::function<bool(VideoFrameBuffer&)>>;

}  // namespace qvs

// Giving a frame back to its pool when its last holder lets go.
#include "frames/VideoFrameBufferAllocation.h"

#include "frames/VideoFrameBufferAllocator.h"
#include "platform/Guard.h"

namespace qvs {

VideoFrameBufferAllocation::~VideoFrameBufferAllocation() {
  guarded("VideoFrameBufferAllocation::destructor", [&] {
    if (const auto pool = allocator.lock()) pool->addFrameBuffer(std::move(frameBuffer));
  });
}

}  // namespace qvs

// The free list of a pool, and the way of a frame back to it.
#include "frames/VideoFrameBufferAllocator.h"

#include <utility>

#include "frames/VideoFrameBuffer.h"
#include "platform/Guard.h"

namespace qvs {

VideoFrameBufferAllocation::~VideoFrameBufferAllocation() {
  guarded("VideoFrameBufferAllocation::destructor", [&] {
    if (const auto pool = allocator.lock()) pool->addFrameBuffer(std::move(frameBuffer));
  });
}

std::shared_ptr<VideoFrameBufferAllocation> VideoFrameBufferAllocator::allocate() {
  std::lock_guard<std::mutex> guard(availableBuffersLock);
  if (availableBuffers.empty()) return nullptr;
  std::shared_ptr<VideoFrameBufferAllocation> token = std::move(availableBuffers.front());
  availableBuffers.pop_front();
  return token;
}

void VideoFrameBufferAllocator::addFrameBuffer(std::shared_ptr<VideoFrameBuffer> frameBuffer) {
  VideoFrameBuffer& frame = *frameBuffer;
  // Nobody reads it any more: one that was dropped on the way would stall the card.
  frame.releaseCardPicture();
  // All that can fail comes first: a token that died of a failed push would come back here.
  FrameTokens entry(frameReferenceMemory());
  entry.push_front(nullptr);
  entry.front() = std::allocate_shared<VideoFrameBufferAllocation>(
      std::pmr::polymorphic_allocator<VideoFrameBufferAllocation>(frameReferenceMemory()),
      std::move(frameBuffer), weak_from_this());
  std::lock_guard<std::mutex> guard(availableBuffersLock);
  frame.setBufferAllocation(entry.front());
  availableBuffers.splice_after(availableBuffers.before_begin(), entry);
}

}  // namespace qvs

#pragma once

#include <forward_list>
#include <memory>
#include <memory_resource>
#include <mutex>

#include "frames/VideoFrameBufferAllocation.h"

namespace qvs {

/// References on frames. Their nodes come from the pool of `frameReferenceMemory`.
using FrameReferences = std::pmr::forward_list<std::shared_ptr<VideoFrameBufferAllocation>>;

/// Where tokens and list nodes come from, so that handing frames out and back allocates nothing once warm.
/// Never destroyed; usable from all threads.
std::pmr::memory_resource* frameReferenceMemory();

/// The free list of a pool. The frame released last is handed out first. Must live in a shared pointer;
/// callable from all threads.
class VideoFrameBufferAllocator : public std::enable_shared_from_this<VideoFrameBufferAllocator> {
 public:
  /// A free frame, or empty. Never waits for one.
  std::shared_ptr<VideoFrameBufferAllocation> allocate();

  /// Puts a frame on the free list under a token of its own.
  void addFrameBuffer(std::shared_ptr<VideoFrameBuffer> frameBuffer);

 private:
  FrameReferences availableBuffers{frameReferenceMemory()};
  std::mutex availableBuffersLock;  ///< no token dies while it is held: its death takes this lock
};

}  // namespace qvs

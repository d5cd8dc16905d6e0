#pragma once

#include <memory>
#include <mutex>

#include "frames/FrameReferences.h"
#include "frames/VideoFrameBufferAllocation.h"

namespace qvs {

/// The free list of a pool. The frame released last is handed out first. Must live in a shared pointer;
/// callable from all threads.
class VideoFrameBufferAllocator : public std::enable_shared_from_this<VideoFrameBufferAllocator> {
 public:
  /// A free frame, or empty. Never waits for one.
  std::shared_ptr<VideoFrameBufferAllocation> allocate();

  /// Puts a frame on the free list under a token of its own.
  void addFrameBuffer(std::shared_ptr<VideoFrameBuffer> frameBuffer);

 private:
  FrameTokens availableBuffers{frameReferenceMemory()};
  std::mutex availableBuffersLock;  ///< no token dies while it is held: its death takes this lock
};

}  // namespace qvs

#pragma once

#include <forward_list>
#include <memory>
#include <memory_resource>
#include <mutex>

namespace qvs {

class VideoFrameBufferAllocation;

/// Tokens of frames. Their nodes come from the pool of `frameReferenceMemory`.
using FrameTokens = std::pmr::forward_list<std::shared_ptr<VideoFrameBufferAllocation>>;

/// Where tokens and list nodes come from, so that handing frames out and back allocates nothing once warm.
/// Never destroyed; usable from all threads.
std::pmr::memory_resource* frameReferenceMemory();

/// What keeps a frame out of its pool: the references that the server holds on it, and the token of which
/// each is a share. The token may be read and replaced on any thread, since whoever drops the last share puts
/// the frame back; the server's references belong to the server's thread.
class FrameReferences {
 public:
  FrameReferences() = default;
  FrameReferences(const FrameReferences&) = delete;
  FrameReferences& operator=(const FrameReferences&) = delete;

  void createJavaBufferAllocation();
  void releaseJavaBufferAllocation();
  void releaseAllJavaBufferAllocations();

  /// The token that now stands for this frame, to hold it a while; empty for a frame outside a pool.
  std::shared_ptr<VideoFrameBufferAllocation> getBufferAllocation() const;
  void setBufferAllocation(std::weak_ptr<VideoFrameBufferAllocation> token);

 private:
  mutable std::mutex tokenLock;  ///< guards bufferAllocation; no token dies while it is held
  std::weak_ptr<VideoFrameBufferAllocation> bufferAllocation;
  FrameTokens javaBufferAllocations{frameReferenceMemory()};  ///< one for each reference of the server
};

}  // namespace qvs

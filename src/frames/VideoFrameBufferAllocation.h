#pragma once

#include <memory>
#include <utility>

namespace qvs {

class VideoFrameBuffer;
class VideoFrameBufferAllocator;

/// Stands for one frame of a pool, free or in use. When the last holder drops it, on whatever thread, the
/// frame goes back to its allocator, or is dropped where the allocator is gone.
class VideoFrameBufferAllocation {
 public:
  VideoFrameBufferAllocation(std::shared_ptr<VideoFrameBuffer> frameBuffer,
                             std::weak_ptr<VideoFrameBufferAllocator> allocator)
      : frameBuffer(std::move(frameBuffer)), allocator(std::move(allocator)) {}
  ~VideoFrameBufferAllocation();
  VideoFrameBufferAllocation(const VideoFrameBufferAllocation&) = delete;
  VideoFrameBufferAllocation& operator=(const VideoFrameBufferAllocation&) = delete;

  VideoFrameBuffer& operator*() const { return *frameBuffer; }
  VideoFrameBuffer* operator->() const { return frameBuffer.get(); }

 private:
  std::shared_ptr<VideoFrameBuffer> frameBuffer;
  std::weak_ptr<VideoFrameBufferAllocator> allocator;
};

}  // namespace qvs

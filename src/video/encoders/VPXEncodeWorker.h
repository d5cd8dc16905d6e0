#pragma once

#include <vpx/vpx_image.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

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

/// Encodes frames on a thread of its own, one at a time. All calls come from one thread, the owner's.
class VPXEncodeWorker {
 public:
  /// `encode` runs on the worker's thread; it must not throw.
  explicit VPXEncodeWorker(std::function<void(const VPXEncodeJob&)> encode);

  /// Finishes the frame in work, if any.
  ~VPXEncodeWorker();
  VPXEncodeWorker(const VPXEncodeWorker&) = delete;
  VPXEncodeWorker& operator=(const VPXEncodeWorker&) = delete;

  /// Waits for the frame in work, then takes this one and returns.
  void submit(VPXEncodeJob&& job);

  /// Returns when nothing is in work; the last frame goes back to its pool here, on the caller's thread.
  void wait();

 private:
  enum class State { kIdle, kBusy, kStopping };

  void run();

  std::function<void(const VPXEncodeJob&)> encode;
  std::mutex mutex;
  std::condition_variable changed;
  State state = State::kIdle;  ///< guarded by mutex
  VPXEncodeJob job;            ///< the worker's while busy, the owner's otherwise
  std::jthread thread;         ///< last: starts when all else stands
};

}  // namespace qvs

#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/WorkPool.h"

namespace qvs {

/// Encodes frames beside its owner, one at a time. All calls come from one thread, the owner's.
///
/// A `Job` has a member `hold`, the token that keeps its frame out of the pool while it is read.
template <typename Job>
class EncodeWorker {
 public:
  /// `encode` runs on a thread of the pool or in `wait`; it must not throw.
  explicit EncodeWorker(std::function<void(const Job&)> encode)
      : task([this, encode = std::move(encode)] { encode(job); }) {}

  /// Finishes the frame in work, if any.
  ~EncodeWorker() { wait(); }
  EncodeWorker(const EncodeWorker&) = delete;
  EncodeWorker& operator=(const EncodeWorker&) = delete;

  /// Waits for the frame in work, then takes this one and returns. A frame that nothing holds is done when it
  /// returns.
  void submit(Job&& next) {
    wait();
    const bool held = next.hold != nullptr;
    job = std::move(next);
    pool->submit(task);
    if (!held) wait();
  }

  /// Returns when nothing is in work; the last frame goes back to its pool here, on the caller's thread.
  void wait() {
    pool->wait(task);
    // The token's end pushes the frame on its pool's free list; doing it here keeps pools on their session's
    // thread.
    job.hold.reset();
  }

 private:
  std::shared_ptr<WorkPool> pool = WorkPool::shared();
  Job job;  ///< the task's while in work, the owner's otherwise
  WorkPool::Task task;
};

}  // namespace qvs

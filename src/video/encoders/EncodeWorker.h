#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "platform/WorkPool.h"

namespace qvs {

/// Encodes frames beside its owner, in order and one at a time. All calls come from one thread, the owner's.
///
/// A `Job` has a member `hold`, the token that keeps its frame out of the pool while it is read.
template <typename Job>
class EncodeWorker {
 public:
  /// `encode` runs on a thread of the pool or in `wait`; it must not throw. Of `depth` frames in work all but one wait.
  explicit EncodeWorker(std::function<void(const Job&)> encode, size_t depth = 1)
      : jobs(depth), task([this, encode = std::move(encode)] { encode(jobs[encoded++ % jobs.size()]); }) {}

  /// Finishes the frames in work, if any.
  ~EncodeWorker() { wait(); }
  EncodeWorker(const EncodeWorker&) = delete;
  EncodeWorker& operator=(const EncodeWorker&) = delete;

  /// Waits until there is room, then takes this frame and returns. A frame that nothing holds is done when it returns.
  void submit(Job&& next) {
    const bool held = next.hold != nullptr;
    post(std::move(next));
    if (!held) wait();
  }

  /// The same for what reads no frame.
  void post(Job&& next) {
    releaseBut(pool->wait(task, jobs.size() - 1));
    jobs[taken++ % jobs.size()] = std::move(next);
    pool->submit(task);
  }

  /// Returns when nothing is in work.
  void wait() { releaseBut(pool->wait(task)); }

  /// Gives the frames that are done back to their pool.
  void letGo() { releaseBut(pool->wait(task, jobs.size())); }

 private:
  // The token's end pushes the frame on its pool's free list; doing it on the caller's thread keeps pools on their
  // session's.
  void releaseBut(size_t outstanding) {
    while (released + outstanding < taken) jobs[released++ % jobs.size()].hold.reset();
  }

  std::shared_ptr<WorkPool> pool = WorkPool::shared();
  std::vector<Job> jobs;  ///< a ring: those from `encoded` to `taken` are the task's, the others the owner's
  size_t taken = 0;
  size_t encoded = 0;  ///< the task's
  size_t released = 0;
  WorkPool::Task task;
};

}  // namespace qvs

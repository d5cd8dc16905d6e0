#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

namespace qvs {

/// Encodes frames on a thread of its own, one at a time. All calls come from one thread, the owner's.
///
/// A `Job` has a member `hold`, the token that keeps its frame out of the pool while it is read.
template <typename Job>
class EncodeWorker {
 public:
  /// `encode` runs on the worker's thread; it must not throw.
  explicit EncodeWorker(std::function<void(const Job&)> encode)
      : encode(std::move(encode)), thread([this] { run(); }) {}

  /// Finishes the frame in work, if any.
  ~EncodeWorker() {
    wait();
    enter(State::kStopping);
  }
  EncodeWorker(const EncodeWorker&) = delete;
  EncodeWorker& operator=(const EncodeWorker&) = delete;

  /// Waits for the frame in work, then takes this one and returns. A frame that nothing holds is done when it
  /// returns.
  void submit(Job&& next) {
    wait();
    const bool held = next.hold != nullptr;
    job = std::move(next);
    enter(State::kBusy);
    if (!held) wait();
  }

  /// Returns when nothing is in work; the last frame goes back to its pool here, on the caller's thread.
  void wait() {
    {
      std::unique_lock guard(mutex);
      changed.wait(guard, [this] { return state == State::kIdle; });
    }
    // The token's end pushes the frame on its pool's free list; doing it here keeps pools on their session's
    // thread.
    job.hold.reset();
  }

 private:
  enum class State { kIdle, kBusy, kStopping };

  void enter(State next) {
    {
      std::lock_guard guard(mutex);
      state = next;
    }
    changed.notify_all();
  }

  void run() {
    std::unique_lock guard(mutex);
    while (true) {
      changed.wait(guard, [this] { return state != State::kIdle; });
      if (state == State::kStopping) return;
      guard.unlock();
      encode(job);
      guard.lock();
      state = State::kIdle;
      changed.notify_all();
    }
  }

  std::function<void(const Job&)> encode;
  std::mutex mutex;
  std::condition_variable changed;
  State state = State::kIdle;  ///< guarded by mutex
  Job job;                     ///< the worker's while busy, the owner's otherwise
  std::jthread thread;         ///< last: starts when all else stands
};

}  // namespace qvs

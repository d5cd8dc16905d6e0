#include "video/encoders/VPXEncodeWorker.h"

#include <utility>

#include "frames/VideoFrameBufferAllocation.h"

namespace qvs {

VPXEncodeWorker::VPXEncodeWorker(std::function<void(const VPXEncodeJob&)> encode)
    : encode(std::move(encode)), thread([this] { run(); }) {}

VPXEncodeWorker::~VPXEncodeWorker() {
  wait();
  {
    std::lock_guard guard(mutex);
    state = State::kStopping;
  }
  changed.notify_all();
}

void VPXEncodeWorker::submit(VPXEncodeJob&& next) {
  wait();
  job = std::move(next);
  {
    std::lock_guard guard(mutex);
    state = State::kBusy;
  }
  changed.notify_all();
}

void VPXEncodeWorker::wait() {
  {
    std::unique_lock guard(mutex);
    changed.wait(guard, [this] { return state == State::kIdle; });
  }
  // The token's end pushes the frame on its pool's free list; doing it here keeps pools on their session's
  // thread.
  job.hold.reset();
}

void VPXEncodeWorker::run() {
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

}  // namespace qvs

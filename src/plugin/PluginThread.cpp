// A thread for the calls into one plug-in, which is left behind where a call doesn't return.
#include "plugin/PluginThread.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace qvs {

namespace {

std::atomic<uint32_t> abandoned{0};

}  // namespace

struct PluginThread::State {
  std::shared_ptr<void> held;
  std::mutex mutex;
  std::condition_variable changed;
  Call call;          ///< the thread's while busy, the owner's otherwise
  bool busy = false;  ///< this and the next are guarded by mutex
  bool ending = false;
};

PluginThread::PluginThread(std::shared_ptr<void> held)
    : state(std::make_shared<State>()), thread(&PluginThread::serve, state) {
  state->held = std::move(held);
}

PluginThread::~PluginThread() {
  if (!wait()) return;
  {
    const std::lock_guard guard(state->mutex);
    state->ending = true;
  }
  state->changed.notify_all();
  thread.join();
}

bool PluginThread::start(Call call) {
  if (!wait()) return false;
  state->call = std::move(call);
  started = std::chrono::steady_clock::now();
  {
    const std::lock_guard guard(state->mutex);
    state->busy = true;
  }
  state->changed.notify_all();
  return true;
}

bool PluginThread::wait() {
  if (isAbandoned()) return false;
  std::unique_lock guard(state->mutex);
  const auto idle = [this] { return !state->busy; };
  if (deadline.count() == 0) {
    state->changed.wait(guard, idle);
    return true;
  }
  if (state->changed.wait_until(guard, started + deadline, idle)) return true;
  state->ending = true;
  guard.unlock();
  ++abandoned;
  thread.detach();
  state.reset();
  return false;
}

uint32_t PluginThread::abandonedCalls() {
  return abandoned.load();
}

// The last holder of the state ends what is held: the owner, or this thread where its call came back too late.
void PluginThread::serve(std::shared_ptr<State> state) {
  std::unique_lock guard(state->mutex);
  while (true) {
    state->changed.wait(guard, [&] { return state->busy || state->ending; });
    if (!state->busy) return;
    guard.unlock();
    state->call();
    guard.lock();
    state->busy = false;
    state->changed.notify_all();
  }
}

}  // namespace qvs

// The threads that asynchronous encoders share, and the owner that works while it waits.
#include "platform/WorkPool.h"

#include <algorithm>
#include <system_error>

namespace qvs {

std::shared_ptr<WorkPool> WorkPool::shared() {
  static std::mutex mutex;
  static std::weak_ptr<WorkPool> pool;
  std::lock_guard guard(mutex);
  auto held = pool.lock();
  if (!held) {
    // The owner that waits is the one more.
    held = std::make_shared<WorkPool>(std::max(std::thread::hardware_concurrency(), 2u) - 1);
    pool = held;
  }
  return held;
}

WorkPool::WorkPool(size_t count) {
  threads.reserve(count);
  try {
    while (threads.size() < count) threads.emplace_back([this] { serve(); });
  } catch (const std::system_error&) {
    // The machine has no more; owners that wait make up for it.
  }
}

WorkPool::~WorkPool() {
  {
    std::lock_guard guard(mutex);
    stopping = true;
  }
  changed.notify_all();
}

void WorkPool::submit(Task& task) {
  {
    std::lock_guard guard(mutex);
    ++task.outstanding;
    task.owner = std::this_thread::get_id();
    if (task.state != Task::State::kIdle) return;
    queue.push_back(&task);
    task.state = Task::State::kQueued;
  }
  changed.notify_one();
}

size_t WorkPool::wait(Task& task, size_t most) {
  std::unique_lock guard(mutex);
  while (task.outstanding > most) {
    if (Task* own = takeOwn(task)) {
      work(*own, guard);
    } else {
      task.finished.wait(guard);
    }
  }
  return task.outstanding;
}

WorkPool::Task* WorkPool::takeOwn(Task& task) {
  const bool queued = task.state == Task::State::kQueued;
  const auto found =
      std::find_if(queue.begin(), queue.end(), [&, self = std::this_thread::get_id()](const Task* other) {
        return queued ? other == &task : other->owner == self;
      });
  if (found == queue.end()) return nullptr;
  Task* own = *found;
  queue.erase(found);
  return own;
}

void WorkPool::work(Task& task, std::unique_lock<std::mutex>& guard) {
  task.state = Task::State::kRunning;
  guard.unlock();
  task.run();
  guard.lock();
  task.state = Task::State::kIdle;
  if (--task.outstanding > 0) {
    queue.push_back(&task);
    task.state = Task::State::kQueued;
    changed.notify_one();
  }
  // Under the lock: the task may end as soon as its owner sees it idle.
  task.finished.notify_all();
}

void WorkPool::serve() {
  std::unique_lock guard(mutex);
  while (true) {
    changed.wait(guard, [this] { return stopping || !queue.empty(); });
    if (queue.empty()) return;
    // The one with most to do: work that is done in order must not wait for what others could do meanwhile.
    const auto most = std::max_element(queue.begin(), queue.end(), [](const Task* left, const Task* right) {
      return left->outstanding < right->outstanding;
    });
    Task* next = *most;
    queue.erase(most);
    work(*next, guard);
  }
}

}  // namespace qvs

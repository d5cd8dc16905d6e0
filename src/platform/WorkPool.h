#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace qvs {

/// Works off the tasks of many owners with as many threads as the machine has cores, and no more: a thread
/// that waits for its task is one of them and works too. Long tasks so have a core to themselves.
class WorkPool {
 public:
  /// Work that is done as often as it is submitted, once at a time.
  class Task {
   public:
    /// `run` must not throw.
    explicit Task(std::function<void()> run) : run(std::move(run)) {}
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;

   private:
    friend WorkPool;
    enum class State { kIdle, kQueued, kRunning };

    std::function<void()> run;
    std::condition_variable finished;
    State state = State::kIdle;  ///< this and the next two are guarded by the pool's mutex
    std::thread::id owner;       ///< who submitted it
    size_t outstanding = 0;      ///< runs that are still to end
  };

  /// The process's pool, which lives while someone holds it.
  static std::shared_ptr<WorkPool> shared();

  explicit WorkPool(size_t threads);
  /// No task may be at work.
  ~WorkPool();
  WorkPool(const WorkPool&) = delete;
  WorkPool& operator=(const WorkPool&) = delete;

  /// Queues a task; one that isn't idle runs once more. Most outstanding, first served; among equals first come.
  void submit(Task& task);

  /// Returns when at most `most` runs of the task are still to end, and how many these are. Meanwhile this thread
  /// works off tasks that it submitted itself: those of others would hold it up for longer than it has to wait.
  size_t wait(Task& task, size_t most = 0);

 private:
  /// The task itself while it is queued, else the first of this thread's; null where there is none.
  Task* takeOwn(Task& task);
  void work(Task& task, std::unique_lock<std::mutex>& guard);
  void serve();

  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Task*> queue;  ///< guarded by mutex, as is the next; keeps its memory
  bool stopping = false;
  std::vector<std::jthread> threads;  ///< last: start when all else stands
};

}  // namespace qvs

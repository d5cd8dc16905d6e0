#pragma once

#include <pthread.h>

#include <cstdint>

#include "platform/ICrossplatformThreadRunnable.h"

namespace qvs {

/// A thread around a runnable, with a recursive mutex and its condition. `start`, `stop` and `setHighestPriority`
/// belong to one thread at a time; the rest may be called from any.
class CrossplatformThread {
 public:
  /// `runnable` is borrowed and must outlive the run; null: the thread ends at once.
  explicit CrossplatformThread(ICrossplatformThreadRunnable* runnable);
  /// Joins a thread that still runs.
  ~CrossplatformThread();
  CrossplatformThread(const CrossplatformThread&) = delete;
  CrossplatformThread& operator=(const CrossplatformThread&) = delete;

  /// kFailure where the thread runs already or the system has none left.
  uint32_t start();
  /// Waits for the end; the runnable needs a way of its own to be told. kFailure without a thread.
  uint32_t stop();

  static void sleep(uint32_t milliseconds);

  /// Until `notify`, or so long. The caller holds the lock exactly once: a lock held twice stays held.
  void wait(uint32_t milliseconds);
  void notify();
  void lock();
  void unlock();

  /// kFailure without a started thread or the right to do so.
  uint32_t setHighestPriority();

 private:
  static void* run(void* self);

  pthread_t threadPtr{};
  pthread_attr_t attrPtr;
  pthread_mutex_t mutexPtr;
  pthread_cond_t conditionPtr;
  uint8_t threadRunning = 0;
  ICrossplatformThreadRunnable* runnable;
};

}  // namespace qvs

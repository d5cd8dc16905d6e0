#pragma once

#include <pthread.h>

#include "platform/IConcurrentLock.h"

namespace qvs {

/// A recursive pthread mutex. The name is historic.
class ConcurrentLockWindows final : public IConcurrentLock {
 public:
  ConcurrentLockWindows();
  ~ConcurrentLockWindows() override;
  ConcurrentLockWindows(const ConcurrentLockWindows&) = delete;
  ConcurrentLockWindows& operator=(const ConcurrentLockWindows&) = delete;

  void lock() override;
  void unlock() override;

 private:
  pthread_mutex_t mutex;
};

}  // namespace qvs

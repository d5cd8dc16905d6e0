#pragma once

#include <mutex>

namespace qvs {

/// A recursive mutual exclusion.
class IConcurrentLock {
 public:
  virtual ~IConcurrentLock() = default;
  virtual void lock() = 0;
  virtual void unlock() = 0;
};

/// Holds a lock for a scope.
using ScopedLock = std::lock_guard<IConcurrentLock>;

}  // namespace qvs

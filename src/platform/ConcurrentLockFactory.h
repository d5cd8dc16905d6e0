#pragma once

#include "platform/IConcurrentLock.h"

namespace qvs {

class ConcurrentLockFactory {
 public:
  /// A new recursive lock; the caller owns it. Throws where the system has no more mutexes or memory.
  static IConcurrentLock* newConcurrentLock();
};

}  // namespace qvs

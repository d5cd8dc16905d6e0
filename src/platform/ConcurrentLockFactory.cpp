// Makes the recursive locks of this platform.
#include "platform/ConcurrentLockFactory.h"

#include "platform/ConcurrentLockWindows.h"

namespace qvs {

IConcurrentLock* ConcurrentLockFactory::newConcurrentLock() {
  return new ConcurrentLockWindows;
}

}  // namespace qvs

// A recursive pthread mutex.
#include "platform/ConcurrentLockWindows.h"

#include <system_error>

namespace qvs {

ConcurrentLockWindows::ConcurrentLockWindows() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  const int error = pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  if (error != 0) throw std::system_error(error, std::generic_category(), "pthread_mutex_init");
}

ConcurrentLockWindows::~ConcurrentLockWindows() {
  pthread_mutex_destroy(&mutex);
}

void ConcurrentLockWindows::lock() {
  pthread_mutex_lock(&mutex);
}

void ConcurrentLockWindows::unlock() {
  pthread_mutex_unlock(&mutex);
}

}  // namespace qvs

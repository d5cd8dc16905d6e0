// A pthread thread with mutex and condition.
#include "platform/CrossplatformThread.h"

#include <sched.h>
#include <time.h>
#include <unistd.h>

#include "platform/Guard.h"

namespace qvs {

CrossplatformThread::CrossplatformThread(ICrossplatformThreadRunnable* runnable) : runnable(runnable) {
  pthread_attr_init(&attrPtr);
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&mutexPtr, &attributes);
  pthread_mutexattr_destroy(&attributes);
  pthread_cond_init(&conditionPtr, nullptr);
}

CrossplatformThread::~CrossplatformThread() {
  stop();
  pthread_cond_destroy(&conditionPtr);
  pthread_mutex_destroy(&mutexPtr);
  pthread_attr_destroy(&attrPtr);
}

void* CrossplatformThread::run(void* self) {
  ICrossplatformThreadRunnable* work = static_cast<CrossplatformThread*>(self)->runnable;
  if (work != nullptr) guarded("CrossplatformThread::run", [&] { work->threadWork(); });
  return nullptr;
}

uint32_t CrossplatformThread::start() {
  if (threadRunning != 0 || pthread_create(&threadPtr, &attrPtr, run, this) != 0) return kFailure;
  threadRunning = 1;
  return kSuccess;
}

uint32_t CrossplatformThread::stop() {
  if (threadRunning == 0) return kFailure;
  pthread_join(threadPtr, nullptr);
  threadRunning = 0;
  return kSuccess;
}

void CrossplatformThread::sleep(uint32_t milliseconds) {
  usleep(milliseconds * 1000);
}

void CrossplatformThread::wait(uint32_t milliseconds) {
  timespec until{};
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += milliseconds / 1000;
  until.tv_nsec += long{milliseconds % 1000} * 1000000;
  if (until.tv_nsec >= 1000000000) {
    until.tv_nsec -= 1000000000;
    ++until.tv_sec;
  }
  pthread_cond_timedwait(&conditionPtr, &mutexPtr, &until);
}

void CrossplatformThread::notify() {
  pthread_cond_signal(&conditionPtr);
}

void CrossplatformThread::lock() {
  pthread_mutex_lock(&mutexPtr);
}

void CrossplatformThread::unlock() {
  pthread_mutex_unlock(&mutexPtr);
}

uint32_t CrossplatformThread::setHighestPriority() {
  int policy = 0;
  if (threadRunning == 0 || pthread_attr_getschedpolicy(&attrPtr, &policy) != 0) return kFailure;
  return pthread_setschedprio(threadPtr, sched_get_priority_max(policy)) == 0 ? kSuccess : kFailure;
}

}  // namespace qvs

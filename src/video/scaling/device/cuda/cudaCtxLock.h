#pragma once

#include "video/scaling/device/cuda/CudaWrapper.h"

namespace qvs {

/// Makes a context current on this thread for a scope: for std::lock_guard. Excludes nobody: two threads may
/// be in one context at once. Locks nothing while there is no context or no driver.
class cudaCtxLock {
 public:
  cudaCtxLock() = default;
  explicit cudaCtxLock(CUcontext context) : ctx(context) {}

  void lock() {
    if (ctx != nullptr && cudaDriver() != nullptr) cudaDriver()->cuCtxPushCurrent(ctx);
  }
  void unlock() {
    if (ctx != nullptr && cudaDriver() != nullptr) cudaDriver()->cuCtxPopCurrent(nullptr);
  }

 private:
  CUcontext ctx = nullptr;
};

}  // namespace qvs

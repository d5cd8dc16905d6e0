#pragma once

#include "cuda.h"

namespace qvs {

/// Makes a context current on this thread for a scope: for std::lock_guard. Excludes nobody: two threads may
/// be in one context at once. Locks nothing while there is no context.
class cudaCtxLock {
 public:
  cudaCtxLock() = default;
  explicit cudaCtxLock(CUcontext context) : ctx(context) {}

  void lock() {
    // A first answer may be that of earlier work.
    if (ctx != nullptr && cuCtxPushCurrent(ctx) != CUDA_SUCCESS) cuCtxPushCurrent(ctx);
  }
  void unlock() {
    if (ctx != nullptr) cuCtxPopCurrent(nullptr);
  }

 private:
  CUcontext ctx = nullptr;
};

}  // namespace qvs

#pragma once

#include <ffnvcodec/dynlink_cuda.h>

#include <cstdint>
#include <string>

#include "NvencDriver.h"

namespace qvs::nvenc {

/// The context that an encoder works in: the one given, or a card's own, kept for as long as this lives.
class CudaHome {
 public:
  CudaHome() = default;
  ~CudaHome() { release(); }
  CudaHome(const CudaHome&) = delete;
  CudaHome& operator=(const CudaHome&) = delete;

  void take(CUcontext given) {
    release();
    handle = given;
  }

  /// The primary context of a card. The driver's code.
  CUresult retain(const NvencDriver& driver, int card);
  void release();

  CUcontext context() const { return handle; }

 private:
  CUcontext handle = nullptr;
  const NvencDriver* retainedFrom = nullptr;  ///< null: it isn't ours
  CUdevice device = 0;
};

/// Makes a context current on this thread while it lives.
class CudaScope {
 public:
  CudaScope(const NvencDriver& cudaDriver, CUcontext context);
  ~CudaScope();
  CudaScope(const CudaScope&) = delete;
  CudaScope& operator=(const CudaScope&) = delete;

  CUresult code() const { return pushed; }

 private:
  const NvencDriver& driver;
  CUresult pushed;
};

}  // namespace qvs::nvenc

#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>

#include "cuda.h"

namespace qvs {

/// The CUDA contexts of the process, one a GPU: made when first asked for, and kept until the process ends, or until
/// the GPU is lost. Any thread.
class NVidiaCUDAContextManager {
 public:
  static constexpr uint32_t kMaxDevices = 128;

  static NVidiaCUDAContextManager* getInstance();

  /// The context of a device; empty on failure, which is told, and for ever once the device is lost. It is current on
  /// no thread: cudaCtxLock makes it so.
  std::shared_ptr<CUctx_st> acquireContext(CUdevice device, uint32_t deviceIndex);

  /// Takes note of what a call in a context answered. A code after which a context can do nothing more makes its
  /// device lost: whoever has the context still ends what it holds there, and nobody gets it again.
  void noteResult(CUcontext context, CUresult code);
  bool isLost(uint32_t deviceIndex);

  /// For contexts made later on.
  void setFlags(uint32_t value) { flags = value; }
  uint32_t getFlags() const { return flags; }

 private:
  NVidiaCUDAContextManager() = default;
  std::shared_ptr<CUctx_st> makeContext(CUdevice device) const;

  std::mutex lock;
  std::array<std::shared_ptr<CUctx_st>, kMaxDevices + 1>
      contextInfo;  ///< an index of kMaxDevices is taken too
  std::array<bool, kMaxDevices + 1> lost{};
  uint32_t flags = 0;
};

}  // namespace qvs

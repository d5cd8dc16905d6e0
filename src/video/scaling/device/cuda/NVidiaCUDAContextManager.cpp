// The contexts of the process: making, sharing and giving up.
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "log/LogGlobalLogger.h"
#include "video/scaling/device/cuda/npp/ImageKernels.h"

namespace qvs {
namespace {

/// Codes that stay with a context: after them it only fails.
constexpr int kFatalCodes[] = {
    100,                                // no device
    214, 219, 220, 226,                 // memory, link or assertion of the hardware
    700, 702, 709,                      // illegal address, time out, context gone
    710, 714, 715, 716, 717, 718, 719,  // faults of a kernel
    999,
};

bool isFatal(CUresult code) {
  return std::find(std::begin(kFatalCodes), std::end(kFatalCodes), static_cast<int>(code)) !=
         std::end(kFatalCodes);
}

void destroyContext(CUcontext context) {
  if (cuCtxPushCurrent(context) == CUDA_SUCCESS) {
    ImageKernels::release(context);
    cuCtxPopCurrent(nullptr);
  }
  const CUresult code = cuCtxDestroy(context);
  if (code == CUDA_SUCCESS) return;
  LogGlobalLogger::getLogger()->warn(
      fmt::format("NVidiaCUDAContextManager.ctxDel[{{context}}]: cuCtxDestroy: Failure result:{}",
                  static_cast<int>(code)));
}

}  // namespace

NVidiaCUDAContextManager* NVidiaCUDAContextManager::getInstance() {
  // Leaked: frames that outlive all else still free their memory in its contexts.
  static auto* const instance = new NVidiaCUDAContextManager;
  return instance;
}

std::shared_ptr<CUctx_st> NVidiaCUDAContextManager::makeContext(CUdevice device) const {
  CUcontext context = nullptr;
  const CUresult code = cuCtxCreate(&context, flags, device);
  if (code != CUDA_SUCCESS) {
    LogGlobalLogger::getLogger()->warn(
        fmt::format("NVidiaCUDAContextManager.acquireContext[{{context}}]: cuCtxCreate: Failure result:{}",
                    static_cast<int>(code)));
    return nullptr;
  }
  // The driver has made it current, where it would stay behind on a thread that is the host's.
  cuCtxPopCurrent(nullptr);
  return {context, destroyContext};
}

std::shared_ptr<CUctx_st> NVidiaCUDAContextManager::acquireContext(CUdevice device, uint32_t deviceIndex) {
  ILogger& log = *LogGlobalLogger::getLogger();
  if (deviceIndex > kMaxDevices) {
    log.warn(
        fmt::format("NVidiaCUDAContextManager.acquireContext[{{context}}]: deviceIndex out of range: {} : {}",
                    deviceIndex, kMaxDevices));
    return nullptr;
  }
  const std::lock_guard hold(lock);
  std::shared_ptr<CUctx_st>& context = contextInfo[deviceIndex];
  if (lost[deviceIndex]) {
    log.warn(
        fmt::format("NVidiaCUDAContextManager.acquireContext[{{context}}]: device is lost: {}", deviceIndex));
    return nullptr;
  }
  if (!context) context = makeContext(device);
  if (!context) return nullptr;
  std::shared_ptr<CUctx_st> shared = context;
  log.info(fmt::format("NVidiaCUDAContextManager.acquireContext[{{context}}]: deviceIndex:{} count:{}",
                       deviceIndex, shared.use_count()));
  return shared;
}

void NVidiaCUDAContextManager::noteResult(CUcontext context, CUresult code) {
  if (context == nullptr || !isFatal(code)) return;
  std::shared_ptr<CUctx_st> dropped;  // ended outside of the lock
  const std::lock_guard hold(lock);
  const auto found = std::find_if(contextInfo.begin(), contextInfo.end(),
                                  [context](const auto& shared) { return shared.get() == context; });
  if (found == contextInfo.end()) return;
  const auto index = static_cast<size_t>(found - contextInfo.begin());
  lost[index] = true;
  dropped.swap(*found);
  LogGlobalLogger::getLogger()->error(
      fmt::format("NVidiaCUDAContextManager.noteResult[{{context}}]: device {} is lost after code {}: it is "
                  "not used again",
                  index, static_cast<int>(code)));
}

bool NVidiaCUDAContextManager::isLost(uint32_t deviceIndex) {
  const std::lock_guard hold(lock);
  return deviceIndex <= kMaxDevices && lost[deviceIndex];
}

}  // namespace qvs

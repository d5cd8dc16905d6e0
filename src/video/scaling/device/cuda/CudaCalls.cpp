// Results of calls to a device, told and passed on.
#include "video/scaling/device/cuda/CudaCalls.h"

#include <fmt/format.h>

#include "log/LogGlobalLogger.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"

namespace qvs {

bool CudaCalls::failed(CUresult code, const char* call) {
  tell(static_cast<int>(code), call);
  NVidiaCUDAContextManager::getInstance()->noteResult(context, code);
  return false;
}

bool CudaCalls::failed(NppStatus status, const char* call) {
  tell(status, call);
  return false;
}

void CudaCalls::tell(int code, const char* call) {
  uint32_t count;
  {
    const std::lock_guard hold(lock);
    count = ++counts[call];
  }
  if ((count & (count - 1)) != 0) return;
  std::string line = fmt::format("{}[{{context}}]: {}: Failure result:{}", owner, call, code);
  if (count > 1) line += fmt::format(" ({} times)", count);
  loggerOrGlobal(logger)->warn(logContext, 0, line);
}

}  // namespace qvs

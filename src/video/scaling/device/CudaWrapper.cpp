#include "video/scaling/device/CudaWrapper.h"

#include "platform/SharedLibrary.h"
#include "platform/Status.h"

namespace qvs {
namespace {

/// The driver stays loaded: its own threads may outlive any call of ours.
struct Driver {
  SharedLibrary library;
  int32_t deviceCount = 0;
  bool usable = false;

  Driver() {
    if (!library.open("libcuda.so.1")) return;
    const auto init = library.symbol<int (*)(unsigned)>("cuInit");
    const auto count = library.symbol<int (*)(int*)>("cuDeviceGetCount");
    if (init == nullptr || count == nullptr || init(0) != 0) return;
    usable = count(&deviceCount) == 0;
  }
};

const Driver& driver() {
  static const Driver* const instance = new Driver;
  return *instance;
}

}  // namespace

uint32_t cudaWrapperInit() {
  return driver().usable ? kSuccess : kFailure;
}

int32_t cudaWrapperDeviceCount() {
  return driver().deviceCount;
}

}  // namespace qvs

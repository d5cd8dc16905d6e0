// The CUDA driver, opened at run time, and what is asked of it.
#include "video/scaling/device/cuda/CudaWrapper.h"

#include <memory>

#include "platform/SharedLibrary.h"
#include "platform/Status.h"

namespace qvs {
namespace {

struct LoadedDriver {
  SharedLibrary library;
  CudaDriver functions;
};

std::unique_ptr<LoadedDriver> loadDriver() {
  auto driver = std::make_unique<LoadedDriver>();
  if (!driver->library.open("libcuda.so.1")) return nullptr;
  bool complete = true;
  CudaDriver& functions = driver->functions;
#define QVS_RESOLVE(name, symbolName, parameters)                                \
  functions.name = driver->library.symbol<decltype(functions.name)>(symbolName); \
  complete = complete && functions.name != nullptr;
  QVS_CUDA_FUNCTIONS(QVS_RESOLVE)
#undef QVS_RESOLVE
  return complete ? std::move(driver) : nullptr;
}

}  // namespace

const CudaDriver* cudaDriver() {
  // Never unloaded: its own threads may outlive any call of ours.
  static const LoadedDriver* const driver = loadDriver().release();
  return driver != nullptr ? &driver->functions : nullptr;
}

uint32_t cudaWrapperInit() {
  const CudaDriver* driver = cudaDriver();
  return driver != nullptr && driver->cuInit(0) == 0 ? kSuccess : kFailure;
}

int32_t cudaWrapperDeviceCount() {
  int count = 0;
  return cudaWrapperInit() == kSuccess && cudaDriver()->cuDeviceGetCount(&count) == 0 ? count : 0;
}

}  // namespace qvs

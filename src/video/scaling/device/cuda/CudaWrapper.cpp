// The CUDA driver, opened at run time, and what is asked of it.
#include "video/scaling/device/cuda/CudaWrapper.h"

#include <memory>

#include "platform/SharedLibrary.h"
#include "platform/Status.h"

namespace qvs {
namespace {

struct LoadedDriver {
  SharedLibrary library;
  CudaDriver operations;
};

std::unique_ptr<LoadedDriver> loadDriver() {
  auto driver = std::make_unique<LoadedDriver>();
  if (!driver->library.open("libcuda.so.1")) return nullptr;
  bool complete = true;
  const auto resolve = [&](auto& function, const char* name) {
    function = driver->library.symbol<std::remove_reference_t<decltype(function)>>(name);
    complete = complete && function != nullptr;
  };
  CudaDriver& operations = driver->operations;
  resolve(operations.cuInit, "cuInit");
  resolve(operations.cuDeviceGetCount, "cuDeviceGetCount");
  resolve(operations.cuDeviceGet, "cuDeviceGet");
  resolve(operations.cuDeviceComputeCapability, "cuDeviceComputeCapability");
  // The plain names are those of the first version, whose handles are 32 bits wide.
  resolve(operations.cuCtxPushCurrent, "cuCtxPushCurrent_v2");
  resolve(operations.cuCtxPopCurrent, "cuCtxPopCurrent_v2");
  return complete ? std::move(driver) : nullptr;
}

}  // namespace

const CudaDriver* cudaDriver() {
  // Never unloaded: its own threads may outlive any call of ours.
  static const LoadedDriver* const driver = loadDriver().release();
  return driver != nullptr ? &driver->operations : nullptr;
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

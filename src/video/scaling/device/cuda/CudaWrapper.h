#pragma once

#include <cstdint>

#include "video/scaling/device/cuda/CudaHandles.h"

namespace qvs {

/// What the driver's operations answer: 0 for success, else its own error codes.
using CUresult = int;
inline constexpr CUresult kCudaErrorNoDevice = 100;

// The NVIDIA driver's functions in use: name here, name in the library, parameters. Add one and it is a
// member of CudaDriver. Where the library has two versions, the plain name is that of the first, with
// narrower handles.
// clang-format off
#define QVS_CUDA_FUNCTIONS(X)                                                                       \
  X(cuInit, "cuInit", (unsigned flags))                                                             \
  X(cuDeviceGetCount, "cuDeviceGetCount", (int* count))                                             \
  X(cuDeviceGet, "cuDeviceGet", (CUdevice* device, int ordinal))                                    \
  X(cuDeviceComputeCapability, "cuDeviceComputeCapability", (int* major, int* minor, CUdevice device)) \
  X(cuCtxPushCurrent, "cuCtxPushCurrent_v2", (CUcontext context))                                   \
  X(cuCtxPopCurrent, "cuCtxPopCurrent_v2", (CUcontext* context))
// clang-format on

/// The driver's functions. All are null on a machine without the driver.
struct CudaDriver {
#define QVS_DECLARE(name, symbol, parameters) CUresult(*name) parameters = nullptr;
  QVS_CUDA_FUNCTIONS(QVS_DECLARE)
#undef QVS_DECLARE
};

/// The driver, loaded once for the process and never unloaded. Null where there is none, or where it lacks an
/// operation. Any thread.
const CudaDriver* cudaDriver();

/// 0 when the driver is there and answers, kFailure on a machine without one. Called at start-up, before any
/// thread asks for a device.
uint32_t cudaWrapperInit();

/// Devices that the driver shows; 0 without a driver.
int32_t cudaWrapperDeviceCount();

}  // namespace qvs

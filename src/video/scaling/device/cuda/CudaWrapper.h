#pragma once

#include <cstdint>

#include "video/scaling/device/cuda/CudaHandles.h"

namespace qvs {

/// What the driver's operations answer: 0 for success, else its own error codes.
using CUresult = int;
inline constexpr CUresult kCudaErrorNoDevice = 100;

/// The NVIDIA driver's operations in use. All are null on a machine without the driver.
struct CudaDriver {
  CUresult (*cuInit)(unsigned flags) = nullptr;
  CUresult (*cuDeviceGetCount)(int* count) = nullptr;
  CUresult (*cuDeviceGet)(CUdevice* device, int ordinal) = nullptr;
  CUresult (*cuDeviceComputeCapability)(int* major, int* minor, CUdevice device) = nullptr;
  CUresult (*cuCtxPushCurrent)(CUcontext context) = nullptr;
  CUresult (*cuCtxPopCurrent)(CUcontext* context) = nullptr;
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

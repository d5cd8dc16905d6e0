#pragma once

#include <cstdint>

namespace qvs {

/// 0 when the CUDA driver is there and answers, kFailure on a machine without one. Called at start-up, before any
/// thread asks for a device.
uint32_t cudaWrapperInit();

/// Devices that the driver shows; 0 without a driver.
int32_t cudaWrapperDeviceCount();

}  // namespace qvs

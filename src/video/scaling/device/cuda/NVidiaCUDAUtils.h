#pragma once

#include <cstdint>
#include <istream>

#include "contract/HardwareInfo.h"
#include "log/ILogger.h"

namespace qvs {

/// What this machine's NVIDIA GPUs and driver are. Any thread.
class NVidiaCUDAUtils {
 public:
  /// Bits of CudaFlag, and the number of GPUs above; 0 without a GPU or driver.
  static uint32_t isCUDAAvailable();
  static int32_t getCUDAGPUCount();

  /// Of the kernel's module. Where that can't be read, the least driver that has the interface that this one shows.
  /// False where there is neither.
  static bool getDriverVersion(int32_t* major, int32_t* minor);
  /// The same from the text in which the module tells its version.
  static bool parseDriverVersion(std::istream& text, int32_t* major, int32_t* minor);

  /// Flags of GPUs with these compute capabilities, 0x75 for 7.5.
  static uint32_t flagsOf(int32_t capability, int32_t driverMajor, int32_t driverMinor);

  /// All of it, of `maxGPUs` GPUs at most. False where there are none.
  static bool getCUDAInfo(HardwareInfoCUDA* info, int32_t maxGPUs);

  /// A line for each GPU.
  static void logCUDAInfo(ILogger& logger, const HardwareInfoCUDA& info);
  static void logCUDAGPUInfo(ILogger& logger);
};

}  // namespace qvs

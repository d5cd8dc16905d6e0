// The inventory of NVIDIA's GPUs, from the driver and from the kernel's module.
#include "video/scaling/device/cuda/NVidiaCUDAUtils.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "cuda.h"
#include "log/LogGlobalLogger.h"
#include "video/scaling/device/cuda/CudaWrapper.h"

namespace qvs {
namespace {

constexpr const char* kVersionFile = "/proc/driver/nvidia/version";
constexpr const char* kVersionMark = "Kernel Module";

struct Version {
  int32_t major;
  int32_t minor;
};

bool isAtLeast(Version version, Version least) {
  return version.major != least.major ? version.major > least.major : version.minor >= least.minor;
}

/// What a GPU can do, from a compute capability and a driver on.
struct FlagRule {
  int32_t capability;
  Version driver;
  uint32_t flags;
};
constexpr FlagRule kFlagRules[] = {
    {0x30, {346, 0}, kCudaNvencOffline},
    {0x30, {525, 60}, kCudaUsable | kCudaNvencH264 | kCudaNvcuvidOld | kCudaNvcuvid | kCudaRunsKernels},
    {0x52, {525, 60}, kCudaNvencH265},
    {0x52, {0, 0}, kCudaNvencOffline},
};

/// The first driver with an interface of that number, newest first.
struct InterfaceRule {
  int interface;
  Version driver;
};
constexpr InterfaceRule kInterfaces[] = {{12000, {525, 60}}, {7000, {346, 46}}};

/// Cores of one processor; no newer ones are told.
struct CoreRule {
  int32_t capability;
  int32_t cores;
};
constexpr CoreRule kCores[] = {{0x10, 8},   {0x11, 8},   {0x12, 8},   {0x13, 8},   {0x20, 32}, {0x21, 48},
                               {0x30, 192}, {0x35, 192}, {0x37, 192}, {0x50, 128}, {0x52, 128}};

int32_t localConvertSMVer2Cores(int32_t capability) {
  const auto found = std::find_if(std::begin(kCores), std::end(kCores), [capability](const CoreRule& rule) {
    return rule.capability == capability;
  });
  return found != std::end(kCores) ? found->cores : -1;
}

int32_t capabilityOf(const HardwareInfoGPU& gpu) {
  return gpu.versionMajor * 16 + gpu.versionMinor;
}

int32_t attributeOf(CUdevice device, CUdevice_attribute attribute) {
  int value = 0;
  return cuDeviceGetAttribute(&value, attribute, device) == CUDA_SUCCESS ? value : 0;
}

bool describe(int32_t index, HardwareInfoGPU* gpu) {
  CUdevice device = 0;
  if (cuDeviceGet(&device, index) != CUDA_SUCCESS) return false;
  size_t bytes = 0;
  cuDeviceGetName(gpu->name.data(), static_cast<int>(gpu->name.size()), device);
  cuDeviceComputeCapability(&gpu->versionMajor, &gpu->versionMinor, device);
  cuDeviceTotalMem(&bytes, device);
  gpu->totalMemory = bytes;
  gpu->clockRate = attributeOf(device, CU_DEVICE_ATTRIBUTE_CLOCK_RATE);
  gpu->multiprocessorCount = attributeOf(device, CU_DEVICE_ATTRIBUTE_MULTIPROCESSOR_COUNT);
  gpu->coreCount = gpu->multiprocessorCount * localConvertSMVer2Cores(capabilityOf(*gpu));
  return true;
}

}  // namespace

int32_t NVidiaCUDAUtils::getCUDAGPUCount() {
  return cudaWrapperDeviceCount();
}

bool NVidiaCUDAUtils::parseDriverVersion(std::istream& text, int32_t* major, int32_t* minor) {
  std::string line;
  while (std::getline(text, line)) {
    const size_t mark = line.find(kVersionMark);
    if (mark == std::string::npos) continue;
    // Open modules name the machine in between: "for x86_64".
    for (size_t at = line.find(' ', mark); at != std::string::npos; at = line.find(' ', at + 1)) {
      if (std::sscanf(line.c_str() + at, " %d.%d", major, minor) == 2) return true;
    }
  }
  LogGlobalLogger::getLogger()->warn(
      "NVidiaCUDAUtils.getDriverVersion[{context}]: Error parsing version. Unexpected format");
  return false;
}

bool NVidiaCUDAUtils::getDriverVersion(int32_t* major, int32_t* minor) {
  std::ifstream file(kVersionFile);
  if (file && parseDriverVersion(file, major, minor)) return true;
  int interface = 0;
  if (cuDriverGetVersion(&interface) != CUDA_SUCCESS) return false;
  const auto found =
      std::find_if(std::begin(kInterfaces), std::end(kInterfaces),
                   [interface](const InterfaceRule& rule) { return interface >= rule.interface; });
  if (found == std::end(kInterfaces)) return false;
  *major = found->driver.major;
  *minor = found->driver.minor;
  return true;
}

uint32_t NVidiaCUDAUtils::flagsOf(int32_t capability, int32_t driverMajor, int32_t driverMinor) {
  uint32_t flags = 0;
  for (const FlagRule& rule : kFlagRules) {
    if (capability >= rule.capability && isAtLeast({driverMajor, driverMinor}, rule.driver))
      flags |= rule.flags;
  }
  return flags;
}

bool NVidiaCUDAUtils::getCUDAInfo(HardwareInfoCUDA* info, int32_t maxGPUs) {
  *info = {};
  const int32_t count = getCUDAGPUCount();
  if (count <= 0) return false;
  info->countGPU = count;
  getDriverVersion(&info->driverVersionMajor, &info->driverVersionMinor);
  cuDriverGetVersion(&info->cudaVersion);
  info->availableFlags = static_cast<uint32_t>(count) << kCudaGpuCountShift;
  for (int32_t i = 0; i < count; ++i) {
    HardwareInfoGPU gpu;
    if (!describe(i, &gpu)) continue;
    info->availableFlags |= flagsOf(capabilityOf(gpu), info->driverVersionMajor, info->driverVersionMinor);
    if (i < std::min(maxGPUs, HardwareInfoCUDA::kMaxGPUs)) info->gpus[static_cast<size_t>(i)] = gpu;
  }
  return true;
}

uint32_t NVidiaCUDAUtils::isCUDAAvailable() {
  HardwareInfoCUDA info;
  getCUDAInfo(&info, HardwareInfoCUDA::kMaxGPUs);
  return info.availableFlags;
}

void NVidiaCUDAUtils::logCUDAInfo(ILogger& logger, const HardwareInfoCUDA& info) {
  constexpr int32_t kKilohertz = 1000;
  constexpr uint64_t kMegabyte = 1024 * 1024;
  for (int32_t i = 0; i < std::min(info.countGPU, HardwareInfoCUDA::kMaxGPUs); ++i) {
    const HardwareInfoGPU& gpu = info.gpus[static_cast<size_t>(i)];
    logger.info(
        fmt::format("NVidiaCUDAUtils.logCUDAGPUInfo[{{context}}]: GPU[{}]: name:\"{}\" driverVersion:{}.{} "
                    "cudaVersion:{} "
                    "computeCapability:{}.{} processors:{} cores:{} clockRate:{}MHz memory:{}MB",
                    i, gpu.name.data(), info.driverVersionMajor, info.driverVersionMinor, info.cudaVersion,
                    gpu.versionMajor, gpu.versionMinor, gpu.multiprocessorCount, gpu.coreCount,
                    gpu.clockRate / kKilohertz, gpu.totalMemory / kMegabyte));
  }
}

void NVidiaCUDAUtils::logCUDAGPUInfo(ILogger& logger) {
  HardwareInfoCUDA info;
  if (getCUDAInfo(&info, HardwareInfoCUDA::kMaxGPUs)) logCUDAInfo(logger, info);
}

}  // namespace qvs

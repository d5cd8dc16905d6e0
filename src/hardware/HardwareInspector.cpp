// The inventory of acceleration back ends, taken once at start-up.
#include "hardware/HardwareInspector.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "log/LogGlobalLogger.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {

namespace {

constexpr int32_t kComputeCapabilityH264 = 48;
constexpr int32_t kComputeCapabilityH265 = 82;
constexpr int32_t kNvenc5DriverMajor = 346;

}  // namespace

HardwareInspector::HardwareInspector() {
  u30Shared.open("libxvcucore.so", RTLD_NOW | RTLD_GLOBAL);
}

HardwareInspector* HardwareInspector::getInstance() {
  // Leaked: sessions read it as long as the process lives.
  static HardwareInspector* const pInstance = new HardwareInspector;
  return pInstance;
}

void HardwareInspector::setNativePath(long index, const char* path) {
  if (path == nullptr) return;
  const size_t len = std::strlen(path);
  if (index < 0 || index >= kPathCount || len >= kPathSize) {
    const bool unknown = index < 0 || index >= kPathCount;
    LogGlobalLogger::getInstance()->tell(
        "HardwareInspector::setNativePath",
        {.reason = unknown ? "There is no path with this number" : "A path of this length is not taken",
         .number = unknown ? index : static_cast<int64_t>(len)});
    return;
  }
  std::copy_n(path, len + 1, paths[static_cast<size_t>(index)].begin());
}

void HardwareInspector::clearInfo() {
  infoCUDA = {};
  infoXilinxU30 = {};
  infoQuickSync = infoVAAPI = infoX264 = infoX265 = infoAdvantechVega = {};
  intrinsicScaler = 0;
}

void HardwareInspector::inspect() {
  for (PathIndex index : {kQuickSyncPath, kVaapiPath}) {
    if (paths[index][0] == '\0') paths[index] = paths[kNativePath];
  }
  clearInfo();
  // Back ends whose hosts are not part of this build don't answer and stay at zero.
  constexpr const char* kNoU30 = "U30 Firmware loading unsuccessful - U30 availability is disabled";
  std::fprintf(stderr, "%s\n", kNoU30);
  LogGlobalLogger::getLogger()->info(std::string("HardwareInspector.inspect[{context}]: ") + kNoU30);
  intrinsicScaler = VideoFrameIntrinsicScalerSingleton::getInstance()->isAvailable() ? 1 : 0;
}

int32_t HardwareInspector::computeCapability(int32_t gpu) const {
  const int32_t index = std::max(gpu, 0);
  if (index >= std::min(infoCUDA.countGPU, HardwareInfoCUDA::kMaxGPUs)) return -1;
  const HardwareInfoGPU& info = infoCUDA.gpus[static_cast<size_t>(index)];
  return info.versionMinor + info.versionMajor * 16;
}

int32_t HardwareInspector::compareVersions(int32_t majorA, int32_t minorA, int32_t majorB, int32_t minorB) {
  return majorA != majorB ? majorA - majorB : minorA - minorB;
}

int32_t HardwareInspector::getCUDANVENCVersion(int32_t gpu) const {
  const int32_t capability = computeCapability(gpu);
  if (capability < kComputeCapabilityH264) return 0;
  const bool newDriver =
      compareVersions(infoCUDA.driverVersionMajor, infoCUDA.driverVersionMinor, kNvenc5DriverMajor, 0) >= 0;
  return newDriver || capability >= kComputeCapabilityH265 ? 5 : 4;
}

}  // namespace qvs

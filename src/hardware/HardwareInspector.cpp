// The inventory of acceleration back ends, taken once at start-up.
#include "hardware/HardwareInspector.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "hardware/PluginScreen.h"
#include "hardware/XilinxU30Utils.h"
#include "log/LogGlobalLogger.h"
#include "video/decoders/hosts/VideoDecoderPluginHost.h"
#include "video/encoders/hosts/VideoEncoderH265U30Host.h"
#include "video/scaling/device/cuda/NVidiaCUDAUtils.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {

namespace {

constexpr int32_t kComputeCapabilityH264 = 48;
constexpr int32_t kComputeCapabilityH265 = 82;
constexpr int32_t kNvenc5DriverMajor = 346;

/// A plug-in, whatever it is for: which file it is, and whether it works here.
struct Plugin {
  std::string (*file)(const std::string& path, uint32_t access);
  bool (*answers)(const std::string& path, uint32_t access, uint32_t* major, uint32_t* minor);
};

template <typename Host, const auto& kRow>
constexpr Plugin kPlugin{
    [](const std::string& path, uint32_t access) { return kRow.libraryIn(path, access); },
    [](const std::string& path, uint32_t access, uint32_t* major, uint32_t* minor) {
      return Host::isAvailable(kRow, path, access, nullptr, major, minor);
    }};

template <const PluginEncoderRow& kRow>
constexpr Plugin kEncoder = kPlugin<VideoEncoderPluginHost, kRow>;
template <const PluginDecoderRow& kRow>
constexpr Plugin kDecoder = kPlugin<VideoDecoderPluginHost, kRow>;

/// A line each; false where there is none.
bool tellUnsafe(const std::map<std::string, std::string>& unsafe) {
  for (const auto& [file, what] : unsafe) {
    LogGlobalLogger::getLogger()->warn("HardwareInspector.inspect[{context}]: " + file + " is left out: it " +
                                       what);
  }
  return !unsafe.empty();
}

}  // namespace

/// A library that is asked whether it works here; where it does, the bits are set and the first version is kept.
struct HardwareInspector::Probe {
  HardwareInfoPlugin HardwareInspector::*info;
  PathIndex path;
  Plugin plugin;
  uint32_t bits;
  uint32_t access = kHardwareAccessAny;
};

// In this order, but for those that would take the process with them. A back end's second way to its hardware is tried where no library came by the first.
void HardwareInspector::probePlugins() {
  using This = HardwareInspector;
  constexpr uint32_t kDrm = kHardwareAccessDrm;
  constexpr uint32_t kX11 = kHardwareAccessX11;
  // clang-format off
  static constexpr Probe kProbes[] = {
      {&This::infoQuickSync, kQuickSyncPath, kEncoder<kEncoderH265QuickSync>, kQuickSyncEncodeH265, kDrm},
      {&This::infoQuickSync, kQuickSyncPath, kEncoder<kEncoderH264QuickSync>, kQuickSyncEncodeH264, kDrm},
      {&This::infoQuickSync, kQuickSyncPath, kDecoder<kDecoderH264QuickSync>, kQuickSyncDecodeH264, kDrm},
      {&This::infoQuickSync, kQuickSyncPath, kDecoder<kDecoderMP2QuickSync>, kQuickSyncDecodeMP2, kDrm},
      {&This::infoQuickSync, kQuickSyncPath, kEncoder<kEncoderH265QuickSync>, kQuickSyncEncodeH265, kX11},
      {&This::infoQuickSync, kQuickSyncPath, kEncoder<kEncoderH264QuickSync>, kQuickSyncEncodeH264, kX11},
      {&This::infoQuickSync, kQuickSyncPath, kDecoder<kDecoderH264QuickSync>, kQuickSyncDecodeH264, kX11},
      {&This::infoQuickSync, kQuickSyncPath, kDecoder<kDecoderMP2QuickSync>, kQuickSyncDecodeMP2, kX11},
      {&This::infoVAAPI, kVaapiPath, kEncoder<kEncoderH264VAAPI>, kVaapiEncodeH264},
      {&This::infoVAAPI, kVaapiPath, kEncoder<kEncoderH265VAAPI>, kVaapiEncodeH265},
      {&This::infoVAAPI, kVaapiPath, kEncoder<kEncoderVP9VAAPI>, kVaapiEncodeVP9},
      {&This::infoX264, kNativePath, kEncoder<kEncoderH264X264>, 0},
      {&This::infoX265, kNativePath, kEncoder<kEncoderH265X265>, 0},
      {&This::infoAdvantechVega, kNativePath, kEncoder<kEncoderH26XAdvantechVega>, 0},
  };
  // clang-format on
  std::vector<std::string> files;
  for (const Probe& probe : kProbes) files.push_back(probe.plugin.file(getPath(probe.path), probe.access));
  const auto unsafe = findUnsafePlugins(files);
  tellUnsafe(unsafe);
  for (const Probe& probe : kProbes) {
    if (unsafe.contains(probe.plugin.file(getPath(probe.path), probe.access))) continue;
    HardwareInfoPlugin& info = this->*probe.info;
    if (probe.access == kX11 && (info.availableFlags & kDrm) != 0) continue;
    uint32_t major = 0, minor = 0;
    if (!probe.plugin.answers(getPath(probe.path), probe.access, &major, &minor)) continue;
    if (info.availableFlags == 0) {
      info.versionMajor = major;
      info.versionMinor = minor;
    }
    info.availableFlags |= kPluginAvailable | probe.bits | probe.access;
  }
}

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
  probeU30();
  probeCUDA();
  probePlugins();
  intrinsicScaler = VideoFrameIntrinsicScalerSingleton::getInstance()->isAvailable() ? 1 : 0;
}

void HardwareInspector::probeU30() {
  XilinxU30Utils::getU30Info(&infoXilinxU30);
  if (infoXilinxU30.isXilinxU30Available != 0 && u30Shared.isOpen()) {
    loadU30Firmware();
    return;
  }
  constexpr const char* kNoU30 = "U30 Firmware loading unsuccessful - U30 availability is disabled";
  std::fprintf(stderr, "%s\n", kNoU30);
  LogGlobalLogger::getLogger()->info(std::string("HardwareInspector.inspect[{context}]: ") + kNoU30);
}

void HardwareInspector::loadU30Firmware() {
  HardwareInfoU30& info = infoXilinxU30;
  if (tellUnsafe(findUnsafePlugins({kEncoderH265U30.libraryIn(getPath(kNativePath), kHardwareAccessAny)}))) {
    return;
  }
  VideoEncoderH265U30Host host;
  const bool answers =
      VideoEncoderPluginHost::isAvailable(kEncoderH265U30, getPath(kNativePath), kHardwareAccessAny, nullptr,
                                          &info.firmVersionMaj, &info.firmVersionMin);
  info.availableFlags = answers ? kU30Usable : 0;
  host.setNativePath(paths[kNativePath].data());
  if (host.createDone() != kSuccess || host.setFirmware(info.deviceCount, info.xclbinName) != kSuccess) {
    info.availableFlags = 0;
  }
  if (info.availableFlags == 0) {
    LogGlobalLogger::getInstance()->tell(
        "HardwareInspector::inspect",
        {.reason = "The encoder plug-in of the cards doesn't take their firmware",
         .number = info.deviceCount});
  }
}

void HardwareInspector::probeCUDA() {
  if (!NVidiaCUDAUtils::getCUDAInfo(&infoCUDA, HardwareInfoCUDA::kMaxGPUs)) {
    LogGlobalLogger::getLogger()->info("HardwareInspector.inspect[{context}]: " + NVidiaCUDAUtils::whyNone());
    return;
  }
  if ((infoCUDA.availableFlags & kCudaNvencH265) == 0) return;
  constexpr Plugin plugin = kEncoder<kEncoderH26XNVENC12>;
  const std::string path = getPath(kNativePath);
  uint32_t major = 0, minor = 0;
  if (tellUnsafe(findUnsafePlugins({plugin.file(path, kHardwareAccessAny)}))) return;
  if (plugin.answers(path, kHardwareAccessAny, &major, &minor)) infoCUDA.availableFlags |= kCudaNvencLoaded;
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

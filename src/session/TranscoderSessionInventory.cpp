// The hardware inventory, logged and copied for the host.
#include <fmt/format.h>

#include <cstring>
#include <initializer_list>
#include <string>

#include "hardware/HardwareInspector.h"
#include "session/TranscoderSession.h"
#include "video/scaling/device/cuda/NVidiaCUDAUtils.h"

namespace qvs {

namespace {

/// A capability that a log line names when its bit is set.
struct NamedBit {
  uint32_t bit;
  const char* name;
};

std::string listed(uint32_t word, std::initializer_list<NamedBit> names) {
  std::string text;
  for (const NamedBit& named : names) {
    if ((word & named.bit) == 0) continue;
    if (!text.empty()) text += ",";
    text += named.name;
  }
  return text;
}

std::string versionText(const HardwareInfoPlugin& info) {
  return fmt::format(", version:{}.{}", info.versionMajor, info.versionMinor);
}

/// The list behind the CUDA line. A capability whose plug-in didn't load counts as found but has no name.
std::string cudaText(uint32_t word, bool* found) {
  const bool loaded = (word & kCudaNvencLoaded) != 0;
  const NamedBit names[] = {{kCudaNvencH264, loaded ? " NVENC12[H264]" : ""},
                            {kCudaNvencH265, loaded ? " NVENC12[H265]" : ""},
                            {kCudaNvcuvid, " NVCUVID[NVDEC]"}};
  std::string text;
  for (const NamedBit& named : names) {
    if ((word & named.bit) == 0) continue;
    if (*found) text += ",";
    text += named.name;
    *found = true;
  }
  return text;
}

void logCuda(ILogger& log, const HardwareInfoCUDA& info) {
  const uint32_t word = info.availableFlags;
  if (word == 0) {
    log.info("TranscoderSession.isCUDAAvailable[{context}]: NVidia hardware acceleration is NOT available");
    return;
  }
  bool found = false;
  const std::string line =
      "TranscoderSession.isCUDAAvailable[{context}]:NVidia hardware acceleration is available:" +
      cudaText(word, &found);
  if (found) {
    log.info(line);
  } else {
    log.warn(line +
             " The drivers' version needs to be at least 525.60.13 for Linux and 527.41 for Windows. Any "
             "previous or "
             "unsupported drivers will cause Vantor to revert back to default CPU transcoding.");
  }
  if ((word & kCudaUsable) != 0) NVidiaCUDAUtils::logCUDAInfo(log, info);
}

void logQuickSync(ILogger& log, const HardwareInfoPlugin& info) {
  const std::string tag = "TranscoderSession.isQuickSyncAvailable[{context}]: ";
  if ((info.availableFlags & kQuickSyncAvailable) == 0) {
    log.info(tag + "Intel Quick Sync hardware acceleration is NOT available.");
    return;
  }
  log.info(tag + "Intel Quick Sync hardware acceleration is available:" +
           listed(info.availableFlags, {{kQuickSyncEncodeH264, " ENC[H264]"},
                                        {kQuickSyncEncodeH265, " ENC[H265]"},
                                        {kQuickSyncAvailable, " DEC[H264]"},
                                        {kQuickSyncDecodeH265, " DEC[H265]"},
                                        {kQuickSyncDecodeMP2, " DEC[MP2]"}}) +
           versionText(info));
}

void logVaapi(ILogger& log, const HardwareInfoPlugin& info) {
  // H.265 alone is not announced.
  if ((info.availableFlags & (kVaapiEncodeH264 | kVaapiEncodeVP9)) == 0) return;
  log.info("TranscoderSession.isVAAPIAvailable[{context}]: Intel VAAPI hardware acceleration is available:" +
           listed(info.availableFlags, {{kVaapiEncodeH264, " ENC[H264]"},
                                        {kVaapiEncodeH265, " ENC[H265]"},
                                        {kVaapiEncodeVP9, " ENC[VP9]"}}) +
           versionText(info));
}

void logPlugin(ILogger& log, const char* operation, const char* text, const HardwareInfoPlugin& info) {
  if (info.availableFlags == 0) return;
  log.info(fmt::format("TranscoderSession.{}[{{context}}]: {} is available, build:{}", operation, text,
                       info.versionMajor));
}

}  // namespace

void TranscoderSession::copyInventory(const HardwareInspector& inspector) {
  static_assert(kPathSize == HardwareInspector::kPathSize);
  std::memcpy(nativePath.data(), inspector.getPath(HardwareInspector::kNativePath), kPathSize);
  std::memcpy(quicksyncPath.data(), inspector.getPath(HardwareInspector::kQuickSyncPath), kPathSize);
  std::memcpy(vaapiPath.data(), inspector.getPath(HardwareInspector::kVaapiPath), kPathSize);
  availability.cudaAvailable = inspector.getInfoCUDA().availableFlags;
  availability.u30Available = inspector.getInfoXilinxU30().availableFlags;
  availability.quickSyncAvailable = inspector.getInfoQuickSync().availableFlags;
  if ((availability.quickSyncAvailable & kQuickSyncAvailable) != 0) {
    availability.quickSyncHardwareAccess = availability.quickSyncAvailable & kQuickSyncAccessMask;
  }
  availability.vaapiAvailable = inspector.getInfoVAAPI().availableFlags;
  availability.x264Available = inspector.getInfoX264().availableFlags;
  availability.x265Available = inspector.getInfoX265().availableFlags;
  availability.advantechVegaAvailable = inspector.getInfoAdvantechVega().availableFlags;
}

void TranscoderSession::logInventory(const HardwareInspector& inspector) {
  logCuda(logCollector, inspector.getInfoCUDA());
  logQuickSync(logCollector, inspector.getInfoQuickSync());
  logVaapi(logCollector, inspector.getInfoVAAPI());
  logPlugin(logCollector, "isX264Available", "X264", inspector.getInfoX264());
  logPlugin(logCollector, "isX265Available", "X265", inspector.getInfoX265());
  logPlugin(logCollector, "isAdvantechVegaAvailable", "Advantech Vega", inspector.getInfoAdvantechVega());
  if (inspector.isIntrinsicScalerAvailable()) {
    logCollector.info(
        "TranscoderSession.isIntrinsicScalerAvailable[{context}]: Intrinsic scaler is available");
  }
}

}  // namespace qvs

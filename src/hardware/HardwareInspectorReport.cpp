// The inventory as JSON: no white space, no escaping. Sections that are present open with the key "availabe", misspelt
// as hosts expect it; absent sections, the U30 and the intrinsic scaler use "available".
#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "hardware/HardwareInspector.h"

namespace qvs {

namespace {

constexpr const char* kAbsent = "\"available\":false";
constexpr const char* kPresentMisspelt = "\"availabe\":true,";

/// One JSON object in the making; members come in the order of the calls.
class ObjectWriter {
 public:
  template <typename Value>
  ObjectWriter& member(const char* key, const Value& value) {
    fmt::format_to(std::back_inserter(text), "{}\"{}\":{}", separator, key, value);
    separator = ",";
    return *this;
  }
  const std::string& get() const { return text; }

 private:
  std::string text;
  const char* separator = "";
};

std::string gpuText(const HardwareInspector& inspector, int32_t gpu) {
  const HardwareInfoGPU& info = inspector.getInfoCUDA().gpus[static_cast<size_t>(gpu)];
  ObjectWriter object;
  object.member("name", fmt::format("\"{}\"", info.name.data()))
      .member("versionMajor", info.versionMajor)
      .member("versionMinor", info.versionMinor)
      .member("clockRate", info.clockRate)
      .member("multiprocessorCount", info.multiprocessorCount)
      .member("totalMemory", info.totalMemory)
      .member("coreCount", info.coreCount)
      .member("isCUDANVCUVIDAvailable", inspector.isCUDANVCUVIDAvailable(gpu))
      .member("isCUDAH264EncodeAvailable", inspector.isCUDAH264EncodeAvailable(gpu))
      .member("isCUDAH265EncodeAvailable", inspector.isCUDAH265EncodeAvailable(gpu))
      .member("getCUDANVENCVersion", inspector.getCUDANVENCVersion(gpu));
  return "{" + object.get() + "}";
}

std::string cudaText(const HardwareInspector& inspector) {
  if (!inspector.isCUDAAvailable()) return kAbsent;
  const HardwareInfoCUDA& info = inspector.getInfoCUDA();
  std::string gpus;
  for (int32_t gpu = 0; gpu < std::min(info.countGPU, HardwareInfoCUDA::kMaxGPUs); ++gpu) {
    gpus += (gpu == 0 ? "" : ",") + gpuText(inspector, gpu);
  }
  ObjectWriter object;
  object.member("availableFlags", info.availableFlags)
      .member("countGPU", info.countGPU)
      .member("driverVersion", fmt::format("{}.{}", info.driverVersionMajor, info.driverVersionMinor))
      .member("cudaVersion", info.cudaVersion)
      .member("isCUDAOldH264WindowsAvailable", inspector.isCUDAOldH264WindowsAvailable())
      .member("gpuInfo", "[" + gpus + "]");
  return kPresentMisspelt + object.get();
}

ObjectWriter pluginMembers(const HardwareInfoPlugin& info) {
  ObjectWriter object;
  object.member("availableFlags", info.availableFlags)
      .member("versionMajor", info.versionMajor)
      .member("versionMinor", info.versionMinor);
  return object;
}

std::string pluginText(bool available, const HardwareInfoPlugin& info) {
  return available ? kPresentMisspelt + pluginMembers(info).get() : kAbsent;
}

std::string quickSyncText(const HardwareInspector& inspector) {
  if (!inspector.isQuickSyncAvailable()) return kAbsent;
  ObjectWriter object = pluginMembers(inspector.getInfoQuickSync());
  object.member("isQuickSyncH264EncodeAvailable", inspector.isQuickSyncH264EncodeAvailable())
      .member("isQuickSyncH265EncodeAvailable", inspector.isQuickSyncH265EncodeAvailable())
      .member("isQuickSyncVP8EncodeAvailable", inspector.isQuickSyncVP8EncodeAvailable())
      .member("isQuickSyncVP9EncodeAvailable", inspector.isQuickSyncVP9EncodeAvailable())
      .member("isQuickSyncH264DecodeAvailable", inspector.isQuickSyncH264DecodeAvailable())
      .member("isQuickSyncH265DecodeAvailable", inspector.isQuickSyncH265DecodeAvailable())
      .member("isQuickSyncMP2DecodeAvailable", inspector.isQuickSyncMP2DecodeAvailable())
      .member("isQuickSyncVP8DecodeAvailable", inspector.isQuickSyncVP8DecodeAvailable())
      .member("isQuickSyncVP9DecodeAvailable", inspector.isQuickSyncVP9DecodeAvailable());
  return kPresentMisspelt + object.get();
}

std::string u30Text(const HardwareInspector& inspector) {
  if (!inspector.isXilinxU30Available()) return kAbsent;
  const HardwareInfoU30& info = inspector.getInfoXilinxU30();
  ObjectWriter object;
  object.member("available", true)
      .member("availableFlags", info.availableFlags)
      .member("deviceCount", info.deviceCount)
      .member("cuExists", inspector.u30CUExists())
      .member("pluginsLoaded", inspector.u30PluginsLoaded());
  return object.get();
}

}  // namespace

void HardwareInspector::getJSON(std::string& json) const {
  json = fmt::format(
      "{{\"infoCUDA\":{{{}}},\"infoQuickSync\":{{{}}},\"infoVAAPI\":{{{}}},\"infoXilinxU30\":{{{}}},"
      "\"infoX264\":{{{}}},\"infoX265\":{{{}}},\"infoAdvantechVega\":{{{}}},\"infoIntrinsicScaler\":{{{}}}}}",
      cudaText(*this), quickSyncText(*this), pluginText(isVAAPIAvailable(), getInfoVAAPI()), u30Text(*this),
      pluginText(isX264Available(), getInfoX264()), pluginText(isX265Available(), getInfoX265()),
      pluginText(isAdvantechVegaAvailable(), getInfoAdvantechVega()),
      ObjectWriter().member("available", isIntrinsicScalerAvailable()).get());
}

}  // namespace qvs

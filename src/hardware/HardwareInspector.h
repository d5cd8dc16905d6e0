#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "contract/HardwareInfo.h"
#include "platform/SharedLibrary.h"

namespace qvs {

/// The process-wide record of the acceleration back ends that this machine has. Filled once by `inspect` at
/// start-up, read without a lock afterwards.
class HardwareInspector {
 public:
  static constexpr size_t kPathSize = 512;
  enum PathIndex : long { kNativePath = 0, kQuickSyncPath = 1, kVaapiPath = 2, kPathCount = 3 };

  static HardwareInspector* getInstance();

  /// Where plug-ins are looked for. A null path, one of kPathSize characters or more, or another index is
  /// ignored.
  void setNativePath(long index, const char* path);
  const char* getPath(PathIndex index) const { return paths[index].data(); }

  /// Probes every back end, by loading its plug-ins. Whatever does not answer is left as not available.
  void inspect();

  /// Replaces `json` by the report.
  void getJSON(std::string& json) const;

  bool isCUDAAvailable() const { return infoCUDA.countGPU > 0; }
  bool isCUDAOldH264WindowsAvailable() const { return infoCUDA.nvcuvencDLLLoaded != 0; }
  bool isCUDANVCUVIDAvailable(int32_t gpu) const { return computeCapability(gpu) > 47; }
  bool isCUDAH264EncodeAvailable(int32_t gpu) const { return computeCapability(gpu) > 47; }
  bool isCUDAH265EncodeAvailable(int32_t gpu) const { return computeCapability(gpu) > 81; }

  /// 5 or 4, 0 where the GPU has no encoder.
  int32_t getCUDANVENCVersion(int32_t gpu) const;

  /// The difference of the majors, or of the minors where the majors are equal.
  static int32_t compareVersions(int32_t majorA, int32_t minorA, int32_t majorB, int32_t minorB);

  bool isQuickSyncAvailable() const { return quickSyncBit(0); }
  bool isQuickSyncH264EncodeAvailable() const { return quickSyncBit(3); }
  bool isQuickSyncH265EncodeAvailable() const { return quickSyncBit(4); }
  bool isQuickSyncVP8EncodeAvailable() const { return quickSyncBit(5); }
  bool isQuickSyncVP9EncodeAvailable() const { return quickSyncBit(6); }
  bool isQuickSyncH264DecodeAvailable() const { return quickSyncBit(7); }
  bool isQuickSyncH265DecodeAvailable() const { return quickSyncBit(8); }
  bool isQuickSyncMP2DecodeAvailable() const { return quickSyncBit(9); }
  bool isQuickSyncVP8DecodeAvailable() const { return quickSyncBit(10); }
  bool isQuickSyncVP9DecodeAvailable() const { return quickSyncBit(11); }
  bool isVAAPIAvailable() const { return (infoVAAPI.availableFlags & 1) != 0; }
  bool isX264Available() const { return (infoX264.availableFlags & 1) != 0; }
  bool isX265Available() const { return (infoX265.availableFlags & 1) != 0; }
  bool isAdvantechVegaAvailable() const { return (infoAdvantechVega.availableFlags & 1) != 0; }
  bool isXilinxU30Available() const { return infoXilinxU30.isXilinxU30Available != 0; }
  bool u30CUExists() const { return infoXilinxU30.cuExists != 0; }
  bool u30PluginsLoaded() const { return infoXilinxU30.pluginsLoaded != 0; }
  bool isIntrinsicScalerAvailable() const { return intrinsicScaler != 0; }

  const HardwareInfoCUDA& getInfoCUDA() const { return infoCUDA; }
  const HardwareInfoU30& getInfoXilinxU30() const { return infoXilinxU30; }
  const HardwareInfoPlugin& getInfoQuickSync() const { return infoQuickSync; }
  const HardwareInfoPlugin& getInfoVAAPI() const { return infoVAAPI; }
  const HardwareInfoPlugin& getInfoX264() const { return infoX264; }
  const HardwareInfoPlugin& getInfoX265() const { return infoX265; }
  const HardwareInfoPlugin& getInfoAdvantechVega() const { return infoAdvantechVega; }

  /// The card's management library, not open where the machine lacks it.
  const SharedLibrary& getU30Shared() const { return u30Shared; }

 protected:
  HardwareInspector();

  HardwareInfoCUDA infoCUDA;
  HardwareInfoU30 infoXilinxU30;
  HardwareInfoPlugin infoQuickSync;
  HardwareInfoPlugin infoVAAPI;
  HardwareInfoPlugin infoX264;
  HardwareInfoPlugin infoX265;
  HardwareInfoPlugin infoAdvantechVega;
  uint8_t intrinsicScaler = 0;

 private:
  using Path = std::array<char, kPathSize>;
  struct Probe;

  void probeU30();
  void loadU30Firmware();
  void probeCUDA();
  void probePlugins();

  /// Major version in the upper bits, minor in the lower four; -1 where there is no such GPU. A negative
  /// index is 0.
  int32_t computeCapability(int32_t gpu) const;
  bool quickSyncBit(unsigned bit) const { return (infoQuickSync.availableFlags >> bit & 1) != 0; }
  void clearInfo();

  std::array<Path, kPathCount> paths{};
  SharedLibrary u30Shared;
};

}  // namespace qvs

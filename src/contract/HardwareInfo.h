#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace qvs {

/// Bits of HardwareInfoCUDA::availableFlags; from kCudaGpuCountShift upward the number of GPUs.
enum CudaFlag : uint32_t {
  kCudaUsable = 1,
  kCudaNvencH264 = 2,
  kCudaNvencH265 = 8,
  kCudaNvcuvidOld = 16,
  kCudaNvcuvid = 32,
  kCudaNvencOffline = 64,
  kCudaRunsKernels = 0x100,
  kCudaNvencLoaded = 0x200,  ///< the encoder plug-in really loaded and answered
};
inline constexpr uint32_t kCudaGpuCountShift = 16;

/// How Intel hardware is reached; also bits of the QuickSync flags.
enum HardwareAccess : uint32_t { kHardwareAccessAny = 0, kHardwareAccessDrm = 2, kHardwareAccessX11 = 4 };

/// Bits of the QuickSync flags.
enum QuickSyncFlag : uint32_t {
  kQuickSyncAvailable = 1,  ///< sessions take it for H.264 decoding too
  kQuickSyncAccessMask = kHardwareAccessDrm | kHardwareAccessX11,
  kQuickSyncEncodeH264 = 8,
  kQuickSyncEncodeH265 = 16,
  kQuickSyncDecodeH264 = 0x80,
  kQuickSyncDecodeH265 = 0x100,
  kQuickSyncDecodeMP2 = 0x200,
};

/// Bits of the VAAPI flags.
enum VaapiFlag : uint32_t { kVaapiEncodeH264 = 4, kVaapiEncodeH265 = 8, kVaapiEncodeVP9 = 16 };

/// Bit of the U30 flags.
inline constexpr uint32_t kU30Usable = 1;

struct HardwareInfoGPU {
  std::array<char, 256> name{};
  int32_t versionMajor = 0;  ///< compute capability
  int32_t versionMinor = 0;
  int32_t clockRate = 0;  ///< kHz
  int32_t multiprocessorCount = 0;
  uint64_t totalMemory = 0;  ///< bytes
  int32_t coreCount = 0;
};

struct HardwareInfoCUDA {
  static constexpr int32_t kMaxGPUs = 16;

  uint8_t nvcuvencDLLLoaded = 0;
  int32_t countGPU = 0;
  int32_t driverVersionMajor = 0;
  int32_t driverVersionMinor = 0;
  int32_t cudaVersion = 0;
  uint32_t availableFlags = 0;  ///< CudaFlag
  std::array<HardwareInfoGPU, kMaxGPUs> gpus{};
};

struct HardwareInfoU30 {
  uint8_t isXilinxU30Available = 0;
  uint8_t cuExists = 0;
  uint8_t pluginsLoaded = 0;
  int64_t deviceCount = 0;
  std::string xclbinName;
  uint32_t firmVersionMaj = 0;
  uint32_t firmVersionMin = 0;
  uint32_t availableFlags = 0;
};

/// Bit of a back end's flags: a plug-in of it answered.
inline constexpr uint32_t kPluginAvailable = 1;

/// A back end that answers with a version. Flags: kPluginAvailable and the back end's own bits.
struct HardwareInfoPlugin {
  uint32_t versionMajor = 0;
  uint32_t versionMinor = 0;
  uint32_t availableFlags = 0;
};

}  // namespace qvs

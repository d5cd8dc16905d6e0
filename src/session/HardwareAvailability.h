#pragma once

#include <cstdint>

namespace qvs {

/// A session's copy of what the machine has; all tests of a session read it. The bits are those of
/// HardwareInfo.h.
struct HardwareAvailability {
  uint32_t cudaAvailable = 0;
  uint32_t u30Available = 0;
  uint32_t x264Available = 0;
  uint32_t x265Available = 0;
  uint32_t advantechVegaAvailable = 0;
  uint32_t vaapiAvailable = 0;
  uint32_t quickSyncAvailable = 0;
  uint32_t quickSyncHardwareAccess = 0;
};

}  // namespace qvs

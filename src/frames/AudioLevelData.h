#pragma once

#include <cstdint>

namespace qvs {

/// Loudness of the sound that came with a picture.
struct AudioLevelData {
  uint64_t timecode = 0;
  int32_t averageLeft = 0;
  int32_t averageRight = 0;
  int32_t peakLeft = 0;
  int32_t peakRight = 0;
};

}  // namespace qvs

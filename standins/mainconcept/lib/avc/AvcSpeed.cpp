#include "avc/AvcSpeed.h"

#include <algorithm>

namespace qvs::mc {

const AvcSpeed& AvcSpeed::ofLevel(int32_t level) {
  static constexpr AvcSpeed kLevels[kLast + 1] = {
      {"ultrafast", 0.5}, {"ultrafast", 0.5}, {"superfast", 0.7}, {"superfast", 0.7},
      {"veryfast", 1.0},  {"veryfast", 1.0},  {"faster", 1.5},    {"faster", 1.5},
      {"fast", 2.0},      {"fast", 2.0},      {"medium", 2.3},    {"medium", 2.3},
      {"slow", 3.5},      {"slow", 3.5},      {"slower", 7.0},    {"veryslow", 12.0},
  };
  return kLevels[std::clamp(level, 0, kLast)];
}

}  // namespace qvs::mc

// Speed levels as libx264 presets, with their cost.
#include "avc/AvcSpeed.h"

#include <algorithm>

namespace qvs::mc {

const AvcSpeed& AvcSpeed::ofLevel(int32_t level) {
  static constexpr AvcSpeed kLevels[kLast + 1] = {
      {"ultrafast", 0.27}, {"ultrafast", 0.27}, {"superfast", 0.54}, {"superfast", 0.54},
      {"veryfast", 1.0},   {"veryfast", 1.0},   {"faster", 1.5},     {"faster", 1.5},
      {"fast", 2.8},       {"fast", 2.8},       {"medium", 3.5},     {"medium", 3.5},
      {"slow", 6.4},       {"slow", 6.4},       {"slower", 11.2},    {"veryslow", 21.0},
  };
  return kLevels[std::clamp(level, 0, kLast)];
}

}  // namespace qvs::mc

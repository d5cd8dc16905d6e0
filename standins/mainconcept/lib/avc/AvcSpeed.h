#pragma once

#include <cstdint>

namespace qvs::mc {

/// How one speed level is made.
struct AvcSpeed {
  static constexpr int32_t kLast = 15;
  static constexpr int32_t kDefault = 4;

  const char* preset;  ///< of libx264
  double cost;         ///< CPU time against the default level: a camera clip, 640x360, 1.5 Mbit/s, no delay

  /// The nearest level's row.
  static const AvcSpeed& ofLevel(int32_t level);
};

}  // namespace qvs::mc

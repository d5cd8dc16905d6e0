#pragma once

#include <cstdint>
#include <string>

namespace qvs {

/// What an encoder takes at a sample rate; bits per second.
struct BitrateLimits {
  uint32_t minimum;
  uint32_t maximum;

  /// Moves `bitrate` between the limits; the text of the warning where that changed it, else nothing.
  std::string adjust(uint32_t& bitrate) const;

  static uint32_t saturated(uint64_t value) {
    return value > 0xFFFFFFFFu ? 0xFFFFFFFFu : static_cast<uint32_t>(value);
  }
};

}  // namespace qvs

#pragma once

#include <cstdint>

namespace qvs {

class AACUtils {
 public:
  /// The last entry of the encoder's bit rates that is not above `kilobitsPerSecond`.
  static uint32_t encoderBitrateToIndex(uint32_t kilobitsPerSecond);
};

}  // namespace qvs

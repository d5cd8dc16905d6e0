// Bringing a bit rate into the range that an encoder takes at a sample rate.
#include "audio/BitrateLimits.h"

#include <fmt/format.h>

#include <utility>

namespace qvs {

std::string BitrateLimits::adjust(uint32_t& bitrate) const {
  const bool high = bitrate > maximum;
  if (!high && bitrate >= minimum) return {};
  const uint32_t wanted = std::exchange(bitrate, high ? maximum : minimum);
  return fmt::format("Bitrate is too {} for sample rate. Bitrate adjust from {} to {}", high ? "high" : "low",
                     wanted, bitrate);
}

}  // namespace qvs

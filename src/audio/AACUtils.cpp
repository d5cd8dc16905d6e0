#include "audio/AACUtils.h"

#include <mc_enc_aac.h>

#include <iterator>

namespace qvs {

namespace {
constexpr const auto& AAC_ENC_BITRATES = AAC_AUDIO_BITRATES;
}

uint32_t AACUtils::encoderBitrateToIndex(uint32_t kilobitsPerSecond) {
  uint32_t index = std::size(AAC_ENC_BITRATES) - 1;
  while (index > 0 && AAC_ENC_BITRATES[index] > kilobitsPerSecond) --index;
  return index;
}

}  // namespace qvs

#pragma once

#include <cstdint>

namespace qvs {

/// What a codec that holds samples back has yet to account for of one block.
struct AudioSampleHolder {
  uint64_t timecode = 0;     ///< of the first such sample; samples
  uint32_t sampleCount = 0;  ///< samples a channel
};

}  // namespace qvs

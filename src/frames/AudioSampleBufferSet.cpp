// Making a session's sample blocks.
#include "frames/AudioSampleBufferSet.h"

namespace qvs {

void AudioSampleBufferSet::initialize(uint32_t count) {
  items.reserve(items.size() + count);
  for (uint32_t i = 0; i < count; ++i) add();
}

}  // namespace qvs

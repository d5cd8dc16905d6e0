// Frame memory from malloc, with slack behind it for vector reads.
#include "frames/FrameMemory.h"

#include <limits>

namespace qvs {

FrameMemory makeFrameMemory(uint64_t size, bool clear) {
  if (size > std::numeric_limits<size_t>::max() - kFrameMemorySlack) return FrameMemory();
  const size_t bytes = static_cast<size_t>(size) + kFrameMemorySlack;
  return adoptMallocedMemory(static_cast<uint8_t*>(clear ? std::calloc(1, bytes) : std::malloc(bytes)));
}

}  // namespace qvs

#include "ladder/CodecProbe.h"

namespace qvs::bench {

uint64_t codecNanoseconds() {
  return 0;
}

AllocationCounts allocationCounts() {
  return {};
}

}  // namespace qvs::bench

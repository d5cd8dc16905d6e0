// The plain ladder program: nothing is wrapped or replaced, and all answers are 0.

#include "support/AllocationCounter.h"
#include "support/CodecProbe.h"

namespace qvs::test {

uint64_t codecNanoseconds() {
  return 0;
}

uint64_t allocationsSoFar() {
  return 0;
}

uint64_t allocationsApart() {
  return 0;
}

}  // namespace qvs::test

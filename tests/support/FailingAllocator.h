#pragma once

#include <cstdint>

/// Makes allocations of the calling thread fail on demand and counts what it leaves behind. Linked into a
/// test, it replaces the process's allocator; under a sanitizer, whose allocator must stay, it stands before
/// the calls of the test's own static code only.
namespace qvs::test {

enum class FailureMode {
  Once,     ///< only the chosen allocation fails
  FromThen  ///< it and all that follow
};

/// From now on the `number`-th allocation (from 1) of this thread fails; 0 lets all succeed and counts.
void armAllocator(uint64_t number, FailureMode mode);

struct AllocatorReport {
  uint64_t allocations = 0;  ///< tried since armed
  uint64_t bytes = 0;        ///< asked for by them
  bool failed = false;       ///< the chosen one came
  int64_t liveBlocks = 0;    ///< made and not yet freed by this thread since armed
};

AllocatorReport disarmAllocator();

}  // namespace qvs::test

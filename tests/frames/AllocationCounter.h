#pragma once

#include <cstdint>

namespace qvs::test {

/// Allocations of all threads since the process began. The C allocator is replaced, so that libraries count
/// too.
uint64_t allocationsSoFar();

}  // namespace qvs::test

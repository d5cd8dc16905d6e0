#pragma once

#include <cstdint>

/// What the codecs take for themselves, told apart from what is done around them. Their allocations are those
/// that the allocation counter has set apart.
namespace qvs::test {

/// Nanoseconds that all threads have spent inside the codec libraries so far.
uint64_t codecNanoseconds();

}  // namespace qvs::test

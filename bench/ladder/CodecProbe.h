#pragma once

#include <cstdint>

/// What the codecs take for themselves, told apart from what is done around them.
///
/// The functions below answer from the wrapped codec calls and the replaced allocator of `qvs-bench-probe`;
/// the plain ladder program links CodecProbeNone.cpp instead, where nothing is wrapped and all answers are 0.
namespace qvs::bench {

/// Nanoseconds that all threads have spent inside the codec libraries so far.
uint64_t codecNanoseconds();

struct AllocationCounts {
  uint64_t codec = 0;  ///< made by a codec library during its calls
  uint64_t other = 0;  ///< made by everything else
};

AllocationCounts allocationCounts();

}  // namespace qvs::bench

#pragma once

#include <cstdint>

namespace qvs::mc {

/// Interleaves planes of samples in -1 to 1 as signed 16-bit ones, rounded to the nearest and clamped. What
/// is no number becomes silence.
void writeSamples(const float* const* planes, uint32_t channels, uint32_t samples, int16_t* target);

}  // namespace qvs::mc

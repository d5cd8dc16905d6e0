#pragma once

#include <cstdint>

namespace qvs::plugins {

/// Frames per second as codecs write it.
struct FrameRate {
  uint32_t num;
  uint32_t den;
};

/// In thousandths, but the NTSC family, which comes rounded (29.97), as the exact fraction over 1001. `rate` is above 0
/// and at most 1000.
FrameRate frameRateOf(double rate);

}  // namespace qvs::plugins

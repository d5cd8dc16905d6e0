#pragma once

#include <cstdint>

namespace qvs {

/// One SMPTE timecode of a picture.
struct VideoFrameBufferTimecodeInfo {
  uint32_t tcType;
  uint32_t bcd;
  uint32_t userBits;
  uint32_t flags;
  uint32_t hours;
  uint32_t minutes;
  uint32_t seconds;
  uint32_t frames;
};

}  // namespace qvs

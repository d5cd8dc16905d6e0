#pragma once

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "frames/VideoFrameEncoded.h"

namespace qvs::test {

/// One coded unit that came out of an encoder; times in milliseconds.
struct EncodedUnit {
  std::vector<uint8_t> bytes;
  uint64_t timecode = 0;
  int64_t offset = 0;
  uint32_t frameType = 0;

  bool operator==(const EncodedUnit&) const = default;
  int64_t presentation() const { return static_cast<int64_t>(timecode) + offset; }
};

inline EncodedUnit encodedUnit(const VideoFrameEncoded& frame) {
  return {{frame.getBuffer(), frame.getBuffer() + frame.getLen()},
          frame.getTimecode(),
          frame.getTimecodeOffset(),
          frame.getFrameType()};
}

/// Copies what an encoder gave, and frees it.
inline std::vector<EncodedUnit> takeUnits(const std::vector<VideoFrameEncoded>& frames) {
  std::vector<EncodedUnit> units;
  for (const VideoFrameEncoded& frame : frames) {
    units.push_back(encodedUnit(frame));
    if (frame.isAllocated()) std::free(frame.getBuffer());
  }
  return units;
}

}  // namespace qvs::test

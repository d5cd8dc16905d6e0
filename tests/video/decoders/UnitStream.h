#pragma once

#include <cstdint>
#include <vector>

#include "support/MediaStream.h"

namespace qvs::test {

struct CodedSetup {
  uint32_t codec = 7;  ///< the decoder's codec number
  int width = 64;
  int height = 48;
  int frames = 10;
  int keyInterval = 100;
  int bFrames = 0;
  bool interlaced = false;  ///< top field first; the picture moves from field to field
  bool sets = false;        ///< H.264: parameter sets inside the stream too
  bool tenBit = false;      ///< H.264 and H.265: samples of ten bits, which takes another profile
};

/// A stream of a moving picture, coded by libavcodec: what a server would hand over. Timecodes are 40 ms
/// apart, starting at 1000.
struct UnitStream {
  MediaBytes config;
  std::vector<MediaUnit> units;  ///< in decoding order
};

UnitStream makeUnitStream(const CodedSetup& setup);

}  // namespace qvs::test

#pragma once

#include <cstdint>
#include <vector>

#include "support/EncodedUnit.h"

namespace qvs::test {

/// A decoded picture, planes Y, U, V without padding.
struct H264Picture {
  uint32_t width = 0, height = 0;
  int64_t time = 0;  ///< milliseconds
  bool key = false;
  std::vector<uint8_t> planes[3];
};

/// NAL types of a length-prefixed unit; empty where the lengths don't add up.
std::vector<int> nalTypes(const std::vector<uint8_t>& unit);

/// Plays length-prefixed units with libavcodec: 7 H.264, 12 H.265. Empty where the decoder complains.
std::vector<H264Picture> play(const std::vector<EncodedUnit>& units, uint32_t codec = 7);

/// What a stream tells about its pictures, as its decoder understood it; 0 where it told nothing.
struct H264Shape {
  int profile = 0, level = 0;  ///< numbers of the stream
  int sarWidth = 0, sarHeight = 0;
  int primaries = 0, transfer = 0, matrix = 0;
  int range = 0;  ///< 1 narrow, 2 full
  double frameRate = 0;
};
H264Shape shapeOf(const std::vector<EncodedUnit>& units);

double psnr(const std::vector<uint8_t>& left, const std::vector<uint8_t>& right);

}  // namespace qvs::test

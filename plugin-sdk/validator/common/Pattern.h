#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace qvs::validator {

enum Plane : uint32_t { kY, kU, kV };

/// A 4:2:0 picture, plane by plane without slack.
struct PlainPicture {
  int64_t time = 0;  ///< milliseconds
  uint32_t width = 0;
  uint32_t height = 0;
  std::array<std::vector<uint8_t>, 3> planes{};

  uint32_t widthOf(uint32_t plane) const { return plane == kY ? width : (width + 1) / 2; }
  uint32_t heightOf(uint32_t plane) const { return plane == kY ? height : (height + 1) / 2; }
};

/// The moving pattern that encoders are given: easy to code, its planes never alike. `seed` tells streams apart.
PlainPicture pattern(uint32_t width, uint32_t height, uint32_t index, uint32_t seed);

/// Bytes of a picture in one block with rows of `stride` bytes, as the contract lays it out.
size_t blockSize(uint32_t stride, uint32_t height);

/// Writes the picture as "YV12" into such a block.
void toBlock(const PlainPicture& picture, uint32_t stride, uint8_t* block);

/// And reads it back.
PlainPicture fromBlock(const uint8_t* block, uint32_t stride, uint32_t width, uint32_t height,
                       uint32_t allocatedHeight);

/// Empty where every plane of `got` is within `decibels` of `wanted`, else which one isn't.
std::string difference(const PlainPicture& got, const PlainPicture& wanted, double decibels);

}  // namespace qvs::validator

// The pictures that codecs are tried on, and how near they come back.
#include "common/Pattern.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace qvs::validator {
namespace {

// Up and down between 0 and `top`.
uint8_t slope(uint32_t at, uint32_t top) {
  return static_cast<uint8_t>(std::abs(static_cast<int>(at % (2 * top)) - static_cast<int>(top)));
}

uint8_t sample(uint32_t plane, uint32_t x, uint32_t y, uint32_t index, uint32_t seed) {
  if (plane == kY) return static_cast<uint8_t>(50 + slope(x + 2 * y + 3 * index + 11 * seed, 128));
  if (plane == kU) return static_cast<uint8_t>(60 + slope(x + index + 5 * seed, 32));
  return static_cast<uint8_t>(160 + slope(y + index + 3 * seed, 32));
}

// "YV12": V lies in front of U.
size_t offsetOf(uint32_t plane, uint32_t stride, uint32_t height) {
  const size_t luma = size_t{stride} * height;
  const size_t chroma = size_t{(stride + 1) / 2} * ((height + 1) / 2);
  return plane == kY ? 0 : plane == kV ? luma : luma + chroma;
}

}  // namespace

PlainPicture pattern(uint32_t width, uint32_t height, uint32_t index, uint32_t seed) {
  PlainPicture picture{0, width, height};
  for (uint32_t plane : {kY, kU, kV}) {
    picture.planes[plane].reserve(size_t{picture.widthOf(plane)} * picture.heightOf(plane));
    for (uint32_t y = 0; y < picture.heightOf(plane); ++y) {
      for (uint32_t x = 0; x < picture.widthOf(plane); ++x) {
        picture.planes[plane].push_back(sample(plane, x, y, index, seed));
      }
    }
  }
  return picture;
}

size_t blockSize(uint32_t stride, uint32_t height) {
  return offsetOf(kU, stride, height) + size_t{(stride + 1) / 2} * ((height + 1) / 2);
}

void toBlock(const PlainPicture& picture, uint32_t stride, uint8_t* block) {
  for (uint32_t plane : {kY, kU, kV}) {
    uint8_t* row = block + offsetOf(plane, stride, picture.height);
    const uint8_t* from = picture.planes[plane].data();
    for (uint32_t y = 0; y < picture.heightOf(plane); ++y) {
      memcpy(row, from, picture.widthOf(plane));
      row += plane == kY ? stride : (stride + 1) / 2;
      from += picture.widthOf(plane);
    }
  }
}

PlainPicture fromBlock(const uint8_t* block, uint32_t stride, uint32_t width, uint32_t height,
                       uint32_t allocatedHeight) {
  PlainPicture picture{0, width, height};
  for (uint32_t plane : {kY, kU, kV}) {
    const uint8_t* row = block + offsetOf(plane, stride, allocatedHeight);
    for (uint32_t y = 0; y < picture.heightOf(plane); ++y) {
      picture.planes[plane].insert(picture.planes[plane].end(), row, row + picture.widthOf(plane));
      row += plane == kY ? stride : (stride + 1) / 2;
    }
  }
  return picture;
}

std::string difference(const PlainPicture& got, const PlainPicture& wanted, double decibels) {
  if (got.width != wanted.width || got.height != wanted.height) {
    return "is " + std::to_string(got.width) + "x" + std::to_string(got.height) + " and should be " +
           std::to_string(wanted.width) + "x" + std::to_string(wanted.height);
  }
  for (uint32_t plane : {kY, kU, kV}) {
    double squares = 0;
    for (size_t i = 0; i < wanted.planes[plane].size(); ++i) {
      const double off = double{1} * got.planes[plane][i] - wanted.planes[plane][i];
      squares += off * off;
    }
    const double mean = squares / static_cast<double>(wanted.planes[plane].size());
    const double found = mean == 0 ? 100 : 10 * std::log10(255.0 * 255.0 / mean);
    if (found >= decibels) continue;
    return std::string("has a plane of ") + "YUV"[plane] +
           " that is not what went in: " + std::to_string(std::lround(found)) + " dB";
  }
  return {};
}

}  // namespace qvs::validator

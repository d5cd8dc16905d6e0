// Slopes that wander across the picture, in other directions in each plane.
#include "TrialPicture.h"

namespace qvs::probe {

TrialPicture::TrialPicture(uint32_t pictureWidth, uint32_t pictureHeight)
    : width(pictureWidth), height(pictureHeight), stride((pictureWidth + 1) / 2 * 2) {
  const std::size_t chromaRows = (height + 1) / 2;
  bytes.resize(std::size_t{stride} * height + chromaRows * stride);
}

void TrialPicture::paint(uint32_t number) {
  uint8_t* out = bytes.data();
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < stride; ++x) *out++ = static_cast<uint8_t>(x + y + 4 * number);
  }
  const uint32_t chromaRows = (height + 1) / 2;
  for (uint32_t plane = 0; plane < 2; ++plane) {
    for (uint32_t y = 0; y < chromaRows; ++y) {
      for (uint32_t x = 0; x < stride / 2; ++x) {
        *out++ = static_cast<uint8_t>(64 + (plane == 0 ? x : y) / 2 % 128 + number);
      }
    }
  }
}

}  // namespace qvs::probe

// A copy of odd-sized frames with the last chroma column and row that libvpx reads.
#include "video/encoders/VPXPaddedImage.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

namespace qvs {

namespace {

constexpr int kNeutralChroma = 128;
constexpr unsigned int kRowAlignment = 16;  // bytes

/// A plane's part that the source has, and the part that libvpx reads.
struct PlaneSize {
  unsigned int width;
  unsigned int height;
};

void copyPlane(const vpx_image_t& source, const vpx_image_t& target, int plane, PlaneSize have,
               PlaneSize want) {
  for (unsigned int row = 0; row < want.height; ++row) {
    uint8_t* to = target.planes[plane] + static_cast<ptrdiff_t>(row) * target.stride[plane];
    if (have.width == 0 || have.height == 0) {
      std::memset(to, kNeutralChroma, want.width);
      continue;
    }
    const unsigned int sourceRow = std::min(row, have.height - 1);
    std::memcpy(to, source.planes[plane] + static_cast<ptrdiff_t>(sourceRow) * source.stride[plane],
                have.width);
    std::memset(to + have.width, to[have.width - 1], want.width - have.width);
  }
}

}  // namespace

const vpx_image_t* VPXPaddedImage::cover(const vpx_image_t& image) {
  if (((image.d_w | image.d_h) & 1) == 0) return &image;
  if (!padded || padded->d_w != image.d_w || padded->d_h != image.d_h) {
    padded.reset(vpx_img_alloc(nullptr, VPX_IMG_FMT_I420, image.d_w, image.d_h, kRowAlignment));
    if (!padded) throw std::bad_alloc();
  }
  const PlaneSize luma = {image.d_w, image.d_h};
  const PlaneSize have = {image.d_w / 2, image.d_h / 2};
  const PlaneSize want = {(image.d_w + 1) / 2, (image.d_h + 1) / 2};
  copyPlane(image, *padded, VPX_PLANE_Y, luma, luma);
  copyPlane(image, *padded, VPX_PLANE_U, have, want);
  copyPlane(image, *padded, VPX_PLANE_V, have, want);
  return padded.get();
}

}  // namespace qvs

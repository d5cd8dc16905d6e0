// Between planes of their own and the runtime's NV12 surfaces.
#include "NV12Copy.h"

#include <libyuv/planar_functions.h>

#include <cstring>

#include "NV12Surfaces.h"

namespace qvs::plugins {
namespace {

/// Rows of `unit` bytes a sample: columns from `width` on repeat the last, rows from `height` on too.
struct Edge {
  uint8_t* plane;
  size_t pitch;
  size_t unit;
  size_t width, height;          ///< filled, in samples
  size_t fullWidth, fullHeight;  ///< to be filled

  void repeat() const {
    for (size_t y = 0; y < height && fullWidth > width; ++y) {
      uint8_t* end = plane + y * pitch + width * unit;
      for (size_t x = width; x < fullWidth; ++x, end += unit) std::memcpy(end, end - unit, unit);
    }
    for (size_t y = height; y < fullHeight; ++y) {
      std::memcpy(plane + y * pitch, plane + (y - 1) * pitch, fullWidth * unit);
    }
  }
};

}  // namespace

void copyToSurface(const Picture& picture, mfxFrameSurface1& surface) {
  const mfxFrameData& data = surface.Data;
  const uint32_t pitch = pitchOf(surface);
  const uint32_t width = surface.Info.CropW, height = surface.Info.CropH;
  const uint32_t chromaWidth = width / 2, chromaHeight = height / 2;
  libyuv::CopyPlane(picture.y, static_cast<int>(picture.stride), data.Y, static_cast<int>(pitch),
                    static_cast<int>(width), static_cast<int>(height));
  const int chromaStride = static_cast<int>(picture.chromaStride);
  libyuv::MergeUVPlane(picture.u, chromaStride, picture.v, chromaStride, data.UV, static_cast<int>(pitch),
                       static_cast<int>(chromaWidth), static_cast<int>(chromaHeight));
  const uint32_t fullWidth = surface.Info.Width, fullHeight = surface.Info.Height;
  Edge{data.Y, pitch, 1, width, height, fullWidth, fullHeight}.repeat();
  Edge{data.UV, pitch, 2, chromaWidth, chromaHeight, fullWidth / 2, fullHeight / 2}.repeat();
}

void copyFromSurface(const mfxFrameSurface1& surface, uint32_t width, uint32_t height,
                     const PictureTarget& target) {
  const size_t pitch = pitchOf(surface);
  const size_t x = surface.Info.CropX / 2u * 2u, y = surface.Info.CropY / 2u * 2u;
  libyuv::CopyPlane(surface.Data.Y + y * pitch + x, static_cast<int>(pitch), target.y,
                    static_cast<int>(target.stride), static_cast<int>(width), static_cast<int>(height));
  const int chromaStride = static_cast<int>(target.chromaStride);
  libyuv::SplitUVPlane(surface.Data.UV + y / 2 * pitch + x, static_cast<int>(pitch), target.u, chromaStride,
                       target.v, chromaStride, static_cast<int>(width / 2), static_cast<int>(height / 2));
}

}  // namespace qvs::plugins

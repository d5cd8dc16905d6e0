// Copying a libvpx image into a frame, planar or with paired chroma.
#include "video/decoders/VPXImageCopy.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frames/geometry/ChromaOrder.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs {

namespace {

/// One plane's way from the image to the frame.
struct PlaneCopy {
  const uint8_t* from;
  int32_t fromStride;  ///< bytes
  uint32_t fromWidth;  ///< bytes of a row
  uint8_t* to;
  int32_t toStride;  ///< bytes
  uint32_t rows;
};

void copyRows(const PlaneCopy& plane) {
  if (plane.to == nullptr || plane.toStride <= 0 || plane.rows == 0) return;
  if (plane.fromStride == plane.toStride) {
    const size_t fullRows = size_t{plane.rows - 1} * static_cast<size_t>(plane.toStride);
    std::memcpy(plane.to, plane.from, fullRows + std::min<size_t>(plane.fromWidth, plane.toStride));
    return;
  }
  const size_t len = std::min<size_t>(plane.fromWidth, static_cast<size_t>(plane.toStride));
  for (uint32_t row = 0; row < plane.rows; ++row) {
    std::memcpy(plane.to + static_cast<ptrdiff_t>(row) * plane.toStride,
                plane.from + static_cast<ptrdiff_t>(row) * plane.fromStride, len);
  }
}

void copyPlane(const vpx_image_t& image, int plane, uint32_t width, VideoFrameBuffer& target,
               uint32_t targetPlane, uint32_t rows) {
  copyRows({image.planes[plane], image.stride[plane], width, target.getPlane(targetPlane),
            target.getStride(targetPlane), rows});
}

void copyPlanar(const vpx_image_t& image, VideoFrameBuffer& target) {
  const ChromaOrder order = chromaOrder(target.getFourCC());
  const uint32_t rows = std::min(image.d_h, target.getHeight());
  const uint32_t chromaWidth = (image.d_w + 1) / 2;
  copyPlane(image, VPX_PLANE_Y, image.d_w, target, 0, rows);
  copyPlane(image, VPX_PLANE_U, chromaWidth, target, order.u, rows / 2);
  copyPlane(image, VPX_PLANE_V, chromaWidth, target, order.v, rows / 2);
}

void copySemiPlanar(const vpx_image_t& image, VideoFrameBuffer& target) {
  mc_frame_t source{};
  source.width = image.d_w;
  source.height = image.d_h;
  source.four_cc = kFourCCYV12;
  const int order[] = {VPX_PLANE_Y, VPX_PLANE_V, VPX_PLANE_U};
  for (int plane = 0; plane < 3; ++plane) {
    source.plane[plane] = image.planes[order[plane]];
    source.stride[plane] = image.stride[order[plane]];
  }
  VideoFrameBuffer::copyYV12toNV12(&source, &target.getFrame());
}

}  // namespace

bool VPXImageCopy::copy(const vpx_image_t& image, VideoFrameBuffer& target) {
  if (image.planes[VPX_PLANE_Y] == nullptr || target.getPlane(0) == nullptr) return true;
  switch (target.getFourCC()) {
    case kFourCCYV12:
    case kFourCCI420:
    case kFourCCIYUV:
      copyPlanar(image, target);
      return true;
    case kFourCCNV12:
      copySemiPlanar(image, target);
      return true;
    default:
      return false;
  }
}

}  // namespace qvs

// Copying, mirroring and filling of planes.
#include "Plane.h"

#include <libyuv.h>

#include <cstring>

namespace qvs::ucc {

void copyPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, size_t rowBytes,
               uint32_t rows) {
  if (srcStride == dstStride && dstStride == static_cast<ptrdiff_t>(rowBytes)) {
    std::memcpy(dst, src, rowBytes * rows);
    return;
  }
  for (uint32_t y = 0; y < rows; ++y) {
    std::memcpy(dst, src, rowBytes);
    src += srcStride;
    dst += dstStride;
  }
}

void mirrorPlane(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, uint32_t columns,
                 uint32_t rows, uint32_t elementBytes) {
  const auto mirror = elementBytes == 2 ? libyuv::MirrorUVPlane : libyuv::MirrorPlane;
  mirror(src, static_cast<int>(srcStride), dst, static_cast<int>(dstStride), static_cast<int>(columns),
         static_cast<int>(rows));
}

void fillPlane(uint8_t* dst, ptrdiff_t dstStride, size_t rowBytes, uint32_t rows, uint8_t value) {
  if (dstStride == static_cast<ptrdiff_t>(rowBytes)) {
    std::memset(dst, value, rowBytes * rows);
    return;
  }
  for (uint32_t y = 0; y < rows; ++y, dst += dstStride) std::memset(dst, value, rowBytes);
}

}  // namespace qvs::ucc

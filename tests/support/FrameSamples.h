#pragma once

#include <cstdint>
#include <ostream>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs::test {

/// A color in 8-bit YUV, whatever the picture keeps.
struct Yuv {
  int y, u, v;
};
inline std::ostream& operator<<(std::ostream& out, const Yuv& c) {
  return out << "(" << c.y << "," << c.u << "," << c.v << ")";
}

/// Where a planar or two-plane picture keeps a sample; told here by itself, so that a swap in the product is
/// seen.
struct Samples {
  explicit Samples(const VideoFrameBuffer& frame) : frame(frame) {
    const uint32_t code = frame.getFourCC();
    vFirst = code == fourcc("YV12") || code == fourcc("YV16");
    pairs = code == fourcc("NV12");
    fullHeight = code == fourcc("YV16");
  }
  uint8_t& y(uint32_t x, uint32_t row) const { return frame.getPlane(0)[row * frame.getStride(0) + x]; }
  uint8_t& u(uint32_t x, uint32_t row) const { return chroma(x, row, vFirst ? 2 : 1, 0); }
  uint8_t& v(uint32_t x, uint32_t row) const { return chroma(x, row, vFirst ? 1 : 2, 1); }
  Yuv at(uint32_t x, uint32_t row) const { return {y(x, row), u(x, row), v(x, row)}; }

 private:
  uint8_t& chroma(uint32_t x, uint32_t row, uint32_t plane, uint32_t place) const {
    const uint32_t chromaRow = fullHeight ? row : row / 2;
    if (pairs) return frame.getPlane(1)[chromaRow * frame.getStride(1) + x / 2 * 2 + place];
    return frame.getPlane(plane)[chromaRow * frame.getStride(plane) + x / 2];
  }

  const VideoFrameBuffer& frame;
  bool vFirst, pairs, fullHeight;
};

}  // namespace qvs::test

// Frames of the library as packed pictures.

#include "support/DecodedPicture.h"

#include "frames/geometry/ChromaOrder.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs::test {

std::vector<uint8_t> i420Bytes(const VideoFrameBuffer& frame) {
  const ChromaOrder order = chromaOrder(frame.getFourCC());
  const uint32_t width = frame.getWidth();
  const uint32_t height = frame.getHeight();
  std::vector<uint8_t> bytes;
  bytes.reserve(size_t{width} * height * 3 / 2);
  const auto append = [&](uint32_t plane, uint32_t columns, uint32_t rows) {
    const uint8_t* from = frame.getPlane(plane);
    if (!from) return;
    for (uint32_t row = 0; row < rows; ++row, from += frame.getStride(plane))
      bytes.insert(bytes.end(), from, from + columns);
  };
  append(0, width, height);
  append(order.u, width / 2, height / 2);
  append(order.v, width / 2, height / 2);
  return bytes;
}

DecodedPicture decodedPicture(const VideoFrameBuffer& frame) {
  return {frame.getWidth(), frame.getHeight(), i420Bytes(frame)};
}

}  // namespace qvs::test

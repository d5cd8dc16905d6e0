// The listener that copies a session's last decoded picture, for the host's checksums and comparisons.
#include "listener/DecodedFrameListener.h"

#include "frames/VideoFrameBuffer.h"

#include <cstring>

namespace qvs::host {

namespace {

constexpr uint32_t kYV12 = 0x32315659, kI420 = 0x30323449, kIYUV = 0x56555949;

struct PlaneOrder {
  uint32_t fourcc;
  uint32_t planes[3];  ///< where Y, U and V lie
};

// The label decides the order of the chroma planes.
constexpr PlaneOrder kOrders[] = {{kYV12, {0, 2, 1}}, {kI420, {0, 1, 2}}, {kIYUV, {0, 1, 2}}};

const PlaneOrder* orderOf(uint32_t fourcc) {
  for (const PlaneOrder& order : kOrders)
    if (order.fourcc == fourcc) return &order;
  return nullptr;
}

}  // namespace

uint32_t DecodedFrameListener::onVideoDecodeBeforeOverlay(int64_t, IVideoDecoder*, VideoFrameBuffer* frame) {
  frame_.clear();
  const PlaneOrder* order = orderOf(frame->getFourCC());
  if (!order) return 0;
  const size_t width = frame->getWidth(), height = frame->getHeight();
  const size_t chromaWidth = width / 2, chromaHeight = height / 2;
  frame_.resize(width * height + 2 * chromaWidth * chromaHeight);
  uint8_t* out = frame_.data();
  for (int i = 0; i < 3; i++) {
    const uint32_t plane = order->planes[i];
    const size_t columns = i ? chromaWidth : width, rows = i ? chromaHeight : height;
    const uint8_t* row = frame->getPlane(plane);
    if (!row) return 0;
    for (size_t y = 0; y < rows && columns; y++, row += frame->getStride(plane), out += columns)
      std::memcpy(out, row, columns);
  }
  return 0;
}

}  // namespace qvs::host

// Planes of a picture, in the order Y, U, V whatever the order of its format.
#include "listener/PlaneCopy.h"

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

size_t planesSize(const VideoFrameBuffer& frame) {
  if (!orderOf(frame.getFourCC())) return 0;
  const size_t width = frame.getWidth(), height = frame.getHeight();
  return width * height + 2 * (width / 2) * (height / 2);
}

bool copyPlanes(const VideoFrameBuffer& frame, std::span<uint8_t> into) {
  const PlaneOrder* order = orderOf(frame.getFourCC());
  if (!order || planesSize(frame) > into.size()) return false;
  uint8_t* out = into.data();
  for (int i = 0; i < 3; i++) {
    const uint32_t plane = order->planes[i];
    const size_t columns = frame.getWidth() / (i ? 2 : 1), rows = frame.getHeight() / (i ? 2 : 1);
    const uint8_t* row = frame.getPlane(plane);
    if (!row) return false;
    for (size_t y = 0; y < rows && columns; y++, row += frame.getStride(plane), out += columns)
      std::memcpy(out, row, columns);
  }
  return true;
}

}  // namespace qvs::host

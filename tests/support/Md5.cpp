#include "support/Md5.h"

extern "C" {
#include <libavutil/md5.h>
}

#include <array>
#include <cstdio>

#include "frames/geometry/ChromaOrder.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs::test {

std::string md5(const std::vector<uint8_t>& bytes) {
  std::array<uint8_t, 16> sum{};
  av_md5_sum(sum.data(), bytes.data(), bytes.size());
  std::string text;
  for (uint8_t byte : sum) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    text += digits;
  }
  return text;
}

std::vector<uint8_t> i420Bytes(const VideoFrameBuffer& frame) {
  const ChromaOrder order = chromaOrder(frame.getFourCC());
  const uint32_t width = frame.getWidth();
  const uint32_t height = frame.getHeight();
  std::vector<uint8_t> bytes;
  bytes.reserve(size_t{width} * height * 3 / 2);
  const auto append = [&](uint32_t plane, uint32_t columns, uint32_t rows) {
    for (uint32_t row = 0; row < rows; ++row) {
      const uint8_t* from = frame.getPlane(plane) + static_cast<ptrdiff_t>(row) * frame.getStride(plane);
      bytes.insert(bytes.end(), from, from + columns);
    }
  };
  append(0, width, height);
  append(order.u, width / 2, height / 2);
  append(order.v, width / 2, height / 2);
  return bytes;
}

}  // namespace qvs::test

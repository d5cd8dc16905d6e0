#include "frames/BlackPainter.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "frames/geometry/FourCC.h"
#include "frames/geometry/UccFormat.h"

namespace qvs {
namespace {

constexpr uint8_t kBlackLuma = 0;
constexpr uint8_t kNoChroma = 128;
constexpr uint32_t kSourceSize = 16;

struct ChromaShape {
  uint32_t fourcc;
  int64_t widthDivisor;
  int64_t heightDivisor;
  int64_t bytes;  ///< of one position in a chroma plane
};
constexpr ChromaShape kShapes[] = {
    {kFourCCYV12, 2, 2, 1}, {kFourCCI420, 2, 2, 1}, {kFourCCIYUV, 2, 2, 1}, {kFourCCNV12, 2, 2, 2},
    {kFourCCNV21, 2, 2, 2}, {kFourCCYV16, 2, 1, 1}, {kFourCCI422, 2, 1, 1},
};

PixelRect chromaRect(const PixelRect& rect, const ChromaShape& shape) {
  const int64_t left = rect.x / shape.widthDivisor;
  const int64_t top = rect.y / shape.heightDivisor;
  const int64_t right = (rect.x + rect.width + shape.widthDivisor - 1) / shape.widthDivisor;
  const int64_t bottom = (rect.y + rect.height + shape.heightDivisor - 1) / shape.heightDivisor;
  return {left * shape.bytes, top, (right - left) * shape.bytes, bottom - top};
}

}  // namespace

bool BlackPainter::paint(const PixelRect& rect) const {
  if (rect.isEmpty()) return true;
  const auto shape = std::find_if(std::begin(kShapes), std::end(kShapes),
                                  [&](const ChromaShape& row) { return row.fourcc == frame.four_cc; });
  if (shape == std::end(kShapes)) return paintByConverter(rect);
  fill(0, rect, kBlackLuma);
  for (uint32_t plane = 1; plane < 3; ++plane) fill(plane, chromaRect(rect, *shape), kNoChroma);
  return true;
}

bool BlackPainter::paintAround(const PixelRect& rect) const {
  const int64_t right = rect.x + rect.width;
  const int64_t bottom = rect.y + rect.height;
  return paint({0, 0, frame.width, rect.y}) && paint({0, bottom, frame.width, frame.height - bottom}) &&
         paint({0, rect.y, rect.x, rect.height}) && paint({right, rect.y, frame.width - right, rect.height});
}

bool BlackPainter::paintByConverter(const PixelRect& rect) const {
  uint8_t pixels[kSourceSize * kSourceSize * 3] = {};
  ucc_frame_t black{};
  ucc_frame_t view;
  if (initUCCFrame(&black, UCC_FORMAT_BGR3, kSourceSize, kSourceSize, pixels) == 0) return false;
  setUCCColorimetry(&black);
  if (uccViewOfRect(&view, frame, rect) == 0) return false;
  const ucc_config_t config{};
  return UCC_Transform(converter, &view, &black, &config) == 0;
}

/// `rect` in bytes and rows of the plane.
void BlackPainter::fill(uint32_t plane, const PixelRect& rect, uint8_t value) const {
  if (frame.plane[plane] == nullptr || rect.isEmpty()) return;
  const int64_t width = std::min<int64_t>(rect.width, frame.stride[plane] - rect.x);
  if (width <= 0) return;
  uint8_t* row = frame.plane[plane] + rect.y * frame.stride[plane] + rect.x;
  for (int64_t y = 0; y < rect.height; ++y, row += frame.stride[plane]) {
    std::memset(row, value, static_cast<size_t>(width));
  }
}

}  // namespace qvs

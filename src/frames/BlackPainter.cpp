// Black bars around a picture, by filling planes or, for packed formats, by the converter.
#include "frames/BlackPainter.h"

#include <algorithm>
#include <cstring>

#include "frames/geometry/ChromaShape.h"
#include "frames/geometry/UccFormat.h"

namespace qvs {
namespace {

constexpr uint8_t kBlackLuma = 0;
constexpr uint8_t kNoChroma = 128;
constexpr uint32_t kSourceSize = 16;

PixelRect chromaRect(const PixelRect& rect, const ChromaShape& shape) {
  const int64_t rows = shape.halfHeight ? 2 : 1;
  const int64_t left = rect.x / 2;
  const int64_t top = rect.y / rows;
  const int64_t right = (rect.x + rect.width + 1) / 2;
  const int64_t bottom = (rect.y + rect.height + rows - 1) / rows;
  return {left * shape.bytes, top, (right - left) * shape.bytes, bottom - top};
}

}  // namespace

bool BlackPainter::paint(const PixelRect& rect) const {
  if (rect.isEmpty()) return true;
  const ChromaShape* shape = findChromaShape(frame.four_cc);
  if (shape == nullptr) return paintByConverter(rect);
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

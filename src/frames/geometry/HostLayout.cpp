// Where the planes of a pool frame lie in host memory, by fourCC.
#include "frames/geometry/HostLayout.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "frames/geometry/FourCC.h"

namespace qvs {
namespace {

enum class Planes : uint8_t { kOne, kHalfBoth, kHalfWidth, kPairs };

/// stride = width x `strideBytes`; size = width x height x `bits` / 8, with 0 where the system has no rule.
struct LayoutRule {
  uint32_t fourcc;
  int32_t strideBytes;  ///< negative: bottom-up
  uint32_t bits;
  Planes planes;
};
constexpr LayoutRule kRules[] = {
    {fourcc("UYVY"), 2, 16, Planes::kOne},   {fourcc("YUYV"), 2, 16, Planes::kOne},
    {fourcc("YUY2"), 2, 16, Planes::kOne},   {kFourCCARGB, 4, 32, Planes::kOne},
    {kFourCCBGRA, 4, 32, Planes::kOne},      {kFourCCBGR4, -4, 32, Planes::kOne},
    {kFourCCBGR3, -3, 24, Planes::kOne},     {kFourCCXYZ12, 6, 48, Planes::kOne},
    {kFourCCYV12, 1, 12, Planes::kHalfBoth}, {kFourCCI420, 1, 12, Planes::kHalfBoth},
    {kFourCCIYUV, 1, 0, Planes::kHalfBoth},  {kFourCCYV16, 1, 0, Planes::kHalfWidth},
    {kFourCCI422, 1, 0, Planes::kHalfWidth}, {kFourCCNV12, 1, 12, Planes::kPairs},
    {kFourCCNV21, 1, 12, Planes::kPairs},
};
constexpr LayoutRule kOtherRule = {0, 1, 0, Planes::kOne};

const LayoutRule& ruleOf(uint32_t code) {
  const auto found = std::find_if(std::begin(kRules), std::end(kRules),
                                  [code](const LayoutRule& rule) { return rule.fourcc == code; });
  return found != std::end(kRules) ? *found : kOtherRule;
}

struct ChromaPlanes {
  uint32_t count;
  uint64_t stride;
  uint64_t rows;
};

/// Odd sizes round up, so that the last column and row have color.
ChromaPlanes chromaOf(Planes planes, uint32_t width, uint32_t height) {
  const uint64_t halfWidth = (uint64_t{width} + 1) / 2;
  const uint64_t halfHeight = (uint64_t{height} + 1) / 2;
  switch (planes) {
    case Planes::kHalfBoth:
      return {2, halfWidth, halfHeight};
    case Planes::kHalfWidth:
      return {2, halfWidth, height};
    case Planes::kPairs:
      return {1, halfWidth * 2, halfHeight};
    default:
      return {0, 0, 0};
  }
}

}  // namespace

HostLayout hostLayout(uint32_t width, uint32_t height, uint32_t code) {
  HostLayout layout;
  const uint64_t pixels = uint64_t{width} * height;
  const LayoutRule& rule = ruleOf(code);
  int64_t stride = int64_t{width} * rule.strideBytes;
  layout.size = pixels * rule.bits / 8;
  if (code == kFourCCv210) {
    stride = static_cast<int64_t>((uint64_t{width} * 128 / 48 + 127) & ~uint64_t{127});
    layout.size = static_cast<uint64_t>(stride) * height;
  }
  if (stride < 0 && height != 0) layout.startOffset = static_cast<int32_t>(-stride * (int64_t{height} - 1));
  layout.stride = static_cast<int32_t>(stride);
  const ChromaPlanes chroma = chromaOf(rule.planes, width, height);
  const uint64_t lumaBytes = static_cast<uint64_t>(std::llabs(stride)) * height;
  layout.storageSize = std::max(layout.size, lumaBytes + chroma.count * chroma.stride * chroma.rows);
  return layout;
}

void layOutPlanes(frame_tt* frame, uint32_t width, uint32_t height, uint32_t code, const HostLayout& layout,
                  uint8_t* memory) {
  std::fill(std::begin(frame->plane), std::end(frame->plane), nullptr);
  std::fill(std::begin(frame->stride), std::end(frame->stride), 0);
  frame->width = width;
  frame->height = height;
  frame->four_cc = code;
  frame->plane[0] = memory + layout.startOffset;
  frame->stride[0] = layout.stride;
  const ChromaPlanes chroma = chromaOf(ruleOf(code).planes, width, height);
  uint8_t* plane = memory + uint64_t{width} * height;
  for (uint32_t i = 1; i <= chroma.count; ++i) {
    frame->plane[i] = plane;
    frame->stride[i] = static_cast<int32_t>(chroma.stride);
    plane += chroma.stride * chroma.rows;
  }
}

}  // namespace qvs

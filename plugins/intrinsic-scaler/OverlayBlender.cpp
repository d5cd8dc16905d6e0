// Drawing a VUYA overlay on a 4:2:0 picture: clipping, luma and chroma rows, edge samples.
#include "OverlayBlender.h"

#include <algorithm>
#include <cstring>

namespace qvs::intrinsic {
namespace {

// Part of the overlay that lies on the picture, along one axis.
struct Span {
  int64_t from;    // first pixel of the overlay
  int64_t at;      // its place on the picture, even
  int64_t count;   // pixels, none when not above 0
  int64_t chroma;  // chroma samples of the picture that they touch
};

Span clip(int32_t place, uint32_t overlaySize, uint32_t targetSize) {
  Span span{};
  span.from = std::max<int64_t>(0, -int64_t{place});
  span.at = place + span.from;
  span.count = std::min<int64_t>(overlaySize - span.from, targetSize - span.at);
  span.chroma = std::min<int64_t>((span.count + 1) / 2, targetSize / 2 - span.at / 2);
  return span;
}

// One chroma row under `upper` and `lower`; `lower` is null below an overlay of odd height.
struct ChromaRow {
  const uint8_t* upper;
  const uint8_t* lower;
  uint8_t* u;
  uint8_t* v;
  size_t step;  // bytes from sample to sample
};

void blendSamples(const ScalerKernels& kernels, const ChromaRow& row, size_t count) {
  if (row.step == 1) {
    kernels.blendChroma(row.upper, row.lower, row.u, row.v, count);
  } else {
    kernels.blendChromaPairs(row.upper, row.lower, row.u, count);
  }
}

// Sample `index`, some of whose four pixels the overlay lacks: clear ones stand in.
void blendEdgeSample(const ScalerKernels& kernels, const ChromaRow& row, size_t index, size_t pixels) {
  uint8_t block[2][8] = {};
  const size_t bytes = 4 * std::min<size_t>(2, pixels - 2 * index);
  memcpy(block[0], row.upper + 8 * index, bytes);
  if (row.lower != nullptr) memcpy(block[1], row.lower + 8 * index, bytes);
  blendSamples(kernels, {block[0], block[1], row.u + row.step * index, row.v + row.step * index, row.step},
               1);
}

void blendChromaRow(const ScalerKernels& kernels, const ChromaRow& row, size_t samples, size_t pixels) {
  const size_t whole = row.lower != nullptr ? std::min(samples, pixels / 2) : 0;
  blendSamples(kernels, row, whole);
  for (size_t index = whole; index < samples; ++index) blendEdgeSample(kernels, row, index, pixels);
}

}  // namespace

void blendOverlay(const ScalerKernels& kernels, int32_t x, int32_t y,
                  const VideoFrameIntrinsicScalerFrame& overlay, const VideoFrameIntrinsicScalerFrame& target,
                  const PictureLayout& layout) {
  const Span columns = clip(x, overlay.width, target.width);
  const Span rows = clip(y, overlay.height, target.height);
  if (columns.count <= 0 || rows.count <= 0) return;

  const size_t stride = overlay.stride;
  const uint8_t* first = static_cast<const uint8_t*>(overlay.plane) + rows.from * stride + 4 * columns.from;
  uint8_t* luma = layout.y + rows.at * size_t{target.stride} + columns.at;
  const size_t chroma = rows.at / 2 * layout.chromaStride + columns.at / 2 * layout.chromaStep;
  // Two rows of luma, then the chroma below them, while the overlay's rows are in the nearest cache.
  for (int64_t row = 0; row < rows.count; row += 2) {
    const uint8_t* upper = first + row * stride;
    const uint8_t* lower = row + 1 < rows.count ? upper + stride : nullptr;
    kernels.blendLuma(upper, luma + row * target.stride, columns.count);
    if (lower != nullptr) kernels.blendLuma(lower, luma + (row + 1) * target.stride, columns.count);
    if (row / 2 >= rows.chroma) break;
    const size_t offset = chroma + row / 2 * layout.chromaStride;
    blendChromaRow(kernels, {upper, lower, layout.u + offset, layout.v + offset, layout.chromaStep},
                   columns.chroma, columns.count);
  }
}

}  // namespace qvs::intrinsic

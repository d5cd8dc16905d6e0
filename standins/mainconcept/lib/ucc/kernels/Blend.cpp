// Blending of planes, the portable rows, and the making of an overlay's planes.
#include "Blend.h"

#include <algorithm>

#include "CpuDispatch.h"
#include "KernelTable.h"
#include "PixelMatrix.h"

namespace qvs::ucc {
namespace {

constexpr uint8_t kNeutralChroma = 128;

uint8_t blend(uint8_t below, uint8_t above, uint8_t alpha) {
  return static_cast<uint8_t>((above * alpha + below * (255 - alpha) + 127) / 255);
}

void plainBlendRow(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, uint32_t width) {
  for (uint32_t x = 0; x < width; ++x) dst[x] = blend(dst[x], src[x], alpha[x]);
}

void plainBlendPairsRow(uint8_t* dst, const uint8_t* u, const uint8_t* v, const uint8_t* alpha,
                        uint32_t width) {
  for (uint32_t x = 0; x < width; ++x) {
    dst[2 * x] = blend(dst[2 * x], u[x], alpha[x]);
    dst[2 * x + 1] = blend(dst[2 * x + 1], v[x], alpha[x]);
  }
}

template <class Plane>
auto rowOf(const Plane& plane, uint32_t row) {
  return plane.data + static_cast<ptrdiff_t>(row) * plane.stride;
}

/// Pixels [first, end) of one dimension that chroma sample `index` covers.
struct Cover {
  uint32_t first, end;
  Cover(uint32_t index, uint8_t phase, uint32_t size)
      : first(std::max(2 * index, uint32_t{phase}) - phase), end(std::min(2 * index + 2 - phase, size)) {}
};

struct ChromaSample {
  uint8_t u, v, alpha;
};

/// Sums of a chroma sample's pixels.
struct Block {
  uint32_t weighted[4] = {};  ///< by byte position
  uint32_t alpha = 0;

  void add(const uint8_t* pixel, uint32_t pixelAlpha) {
    for (int i = 0; i < 4; ++i) weighted[i] += pixel[i] * pixelAlpha;
    alpha += pixelAlpha;
  }
  ChromaSample sample(const PixelMatrix& matrix) const {
    if (alpha == 0) return {kNeutralChroma, kNeutralChroma, 0};
    uint8_t mean[4];
    for (int i = 0; i < 4; ++i) mean[i] = static_cast<uint8_t>((weighted[i] + (alpha - 1) / 2) / alpha);
    return {matrix.u.apply(mean), matrix.v.apply(mean), static_cast<uint8_t>((alpha + 2) / 4)};
  }
};

void makeChromaRow(ConstPlane rgba, const RgbOrder& order, const PixelMatrix& matrix, uint32_t width,
                   const Cover& rows, uint8_t phase, uint8_t* u, uint8_t* v, uint8_t* alpha) {
  for (uint32_t x = 0; x < overlayChromaSize(width, phase); ++x) {
    const Cover columns(x, phase, width);
    Block block;
    for (uint32_t r = rows.first; r < rows.end; ++r) {
      for (uint32_t c = columns.first; c < columns.end; ++c) {
        const uint8_t* pixel = rowOf(rgba, r) + 4 * c;
        block.add(pixel, pixel[order.alpha]);
      }
    }
    const ChromaSample sample = block.sample(matrix);
    u[x] = sample.u;
    v[x] = sample.v;
    alpha[x] = sample.alpha;
  }
}

}  // namespace

void blendPlane(MutablePlane dst, ConstPlane src, ConstPlane alpha, uint32_t width, uint32_t height) {
  const auto blendRow = kernels().blendRow;
  for (uint32_t y = 0; y < height; ++y) blendRow(rowOf(dst, y), rowOf(src, y), rowOf(alpha, y), width);
}

void blendPairs(MutablePlane dst, ConstPlane u, ConstPlane v, ConstPlane alpha, uint32_t width,
                uint32_t height) {
  const auto blendRow = kernels().blendPairsRow;
  for (uint32_t y = 0; y < height; ++y)
    blendRow(rowOf(dst, y), rowOf(u, y), rowOf(v, y), rowOf(alpha, y), width);
}

void makeOverlayPlanes(ConstPlane rgba, const RgbOrder& order, const RgbToYuvMatrix& weights, uint32_t width,
                       uint32_t height, ChromaPhase phase, const OverlayPlanes& out) {
  const PixelMatrix matrix(weights, order);
  const KernelTable& table = kernels();
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* pixels = rowOf(rgba, y);
    uint8_t* alpha = rowOf(out.alpha, y);
    table.bgraToLuma(pixels, matrix, rowOf(out.y, y), width);
    for (uint32_t x = 0; x < width; ++x) alpha[x] = pixels[4 * x + order.alpha];
  }
  for (uint32_t y = 0; y < overlayChromaSize(height, phase.y); ++y) {
    makeChromaRow(rgba, order, matrix, width, Cover(y, phase.y, height), phase.x, rowOf(out.u, y),
                  rowOf(out.v, y), rowOf(out.chromaAlpha, y));
  }
}

void addPlainBlend(KernelTable& table) {
  table.blendRow = plainBlendRow;
  table.blendPairsRow = plainBlendPairsRow;
}

}  // namespace qvs::ucc

// Four-byte RGB to 4:2:0: matrices, the portable rows, the loop over a picture.
#include "BgraTo420.h"

#include <cmath>

#include "CpuDispatch.h"
#include "KernelTable.h"
#include "PixelMatrix.h"

namespace qvs::ucc {
namespace {

constexpr double kOne = 16384;

/// Rounds a row of the matrix so that its sum is the rounded sum: grey stays grey.
void quantise(const double (&row)[3], double scale, int16_t (&out)[3]) {
  double carried = 0;
  for (int i = 0; i < 3; ++i) {
    const double wanted = row[i] * scale * kOne + carried;
    out[i] = static_cast<int16_t>(std::nearbyint(wanted));
    carried = wanted - out[i];
  }
}

void plainToLuma(const uint8_t* src, const PixelMatrix& matrix, uint8_t* y, uint32_t width) {
  for (uint32_t x = 0; x < width; ++x) y[x] = matrix.y.apply(src + 4 * x);
}

}  // namespace

void plainTo420Rows(const uint8_t* src0, const uint8_t* src1, const PixelMatrix& matrix, uint8_t* y0,
                    uint8_t* y1, uint8_t* u, uint8_t* v, uint32_t width) {
  plainToLuma(src0, matrix, y0, width);
  plainToLuma(src1, matrix, y1, width);
  for (uint32_t x = 0; x < width / 2; ++x) {
    uint8_t mean[4];
    for (uint32_t i = 0; i < 4; ++i) {
      const uint32_t at = 8 * x + i;
      mean[i] = static_cast<uint8_t>((src0[at] + src0[at + 4] + src1[at] + src1[at + 4] + 1) >> 2);
    }
    u[x] = matrix.u.apply(mean);
    v[x] = matrix.v.apply(mean);
  }
}

RgbToYuvMatrix makeRgbToYuvMatrix(double kr, double kb, bool fullRange) {
  const double kg = 1 - kr - kb;
  const double lumaScale = fullRange ? 1 : 219.0 / 255;
  const double chromaScale = fullRange ? 1 : 224.0 / 255;
  const double uDivisor = 2 * (1 - kb);
  const double vDivisor = 2 * (1 - kr);
  RgbToYuvMatrix matrix{};
  quantise({kr, kg, kb}, lumaScale, matrix.y);
  quantise({-kr / uDivisor, -kg / uDivisor, 0.5}, chromaScale, matrix.u);
  quantise({0.5, -kg / vDivisor, -kb / vDivisor}, chromaScale, matrix.v);
  matrix.yOffset = fullRange ? 0 : 16;
  return matrix;
}

void bgraTo420(const uint8_t* src, ptrdiff_t srcStride, const RgbOrder& order, const RgbToYuvMatrix& weights,
               const Planes420& dst, uint32_t width, uint32_t height) {
  const PixelMatrix matrix(weights, order);
  const KernelTable& table = kernels();
  const auto srcRow = [&](uint32_t row) { return src + static_cast<ptrdiff_t>(row) * srcStride; };
  const auto lumaRow = [&](uint32_t row) { return dst.y + static_cast<ptrdiff_t>(row) * dst.yStride; };
  uint8_t* u = dst.u;
  uint8_t* v = dst.v;
  for (uint32_t row = 0; row + 1 < height; row += 2, u += dst.uStride, v += dst.vStride) {
    table.bgraTo420Rows(srcRow(row), srcRow(row + 1), matrix, lumaRow(row), lumaRow(row + 1), u, v, width);
  }
  if (height % 2 != 0) table.bgraToLuma(srcRow(height - 1), matrix, lumaRow(height - 1), width);
}

void addPlainBgraTo420(KernelTable& table) {
  table.bgraToLuma = plainToLuma;
  table.bgraTo420Rows = plainTo420Rows;
}

}  // namespace qvs::ucc

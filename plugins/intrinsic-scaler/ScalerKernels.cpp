// The kernels in plain C++, and the choice between them and the vector forms.
#include "ScalerKernels.h"

#include <algorithm>

#include "HalfFilter.h"
#include "x86/ScalerKernelsX86.h"

namespace qvs::intrinsic {
namespace {

int filter(int outer, int middle, int inner) {
  return kOuterTap * outer + kMiddleTap * middle + kInnerTap * inner;
}

void halveRowsC(const uint8_t* const rows[6], int16_t* kept, size_t width) {
  constexpr int kShift = kTapBits - kKeptBits;
  for (size_t i = 0; i < width; ++i) {
    const int sum = filter(rows[0][i] + rows[5][i], rows[1][i] + rows[4][i], rows[2][i] + rows[3][i]);
    kept[i] = static_cast<int16_t>((sum + (1 << (kShift - 1))) >> kShift);
  }
}

void halveColumnsC(const int16_t* kept, uint8_t* target, size_t width) {
  constexpr int kShift = kTapBits + kKeptBits;
  for (size_t i = 0; i < width; ++i) {
    const int16_t* k = kept + 2 * i;
    const int sum = filter(k[-2] + k[3], k[-1] + k[2], k[0] + k[1]);
    target[i] = static_cast<uint8_t>(std::clamp((sum + (1 << (kShift - 1))) >> kShift, 0, 255));
  }
}

void blendLumaC(const uint8_t* vuya, uint8_t* luma, size_t width) {
  for (size_t i = 0; i < width; ++i, vuya += 4) {
    const unsigned a = vuya[3];
    luma[i] = static_cast<uint8_t>((a * vuya[2] + (255 - a) * luma[i] + 127) / 255);
  }
}

// One chroma sample under four pixels; `component` is the byte of the pixel.
uint8_t blendSample(const uint8_t* upper, const uint8_t* lower, int component, unsigned alphas,
                    unsigned old) {
  const unsigned sum = upper[3] * upper[component] + upper[7] * upper[4 + component] +
                       lower[3] * lower[component] + lower[7] * lower[4 + component];
  return static_cast<uint8_t>((sum + (4 * 255 - alphas) * old + 2 * 255) / (4 * 255));
}

void blendChromaC(const uint8_t* upper, const uint8_t* lower, uint8_t* u, uint8_t* v, size_t width) {
  for (size_t i = 0; i < width; ++i, upper += 8, lower += 8) {
    const unsigned alphas = upper[3] + upper[7] + lower[3] + lower[7];
    v[i] = blendSample(upper, lower, 0, alphas, v[i]);
    u[i] = blendSample(upper, lower, 1, alphas, u[i]);
  }
}

void blendChromaPairsC(const uint8_t* upper, const uint8_t* lower, uint8_t* uv, size_t width) {
  for (size_t i = 0; i < width; ++i) {
    blendChromaC(upper + 8 * i, lower + 8 * i, uv + 2 * i, uv + 2 * i + 1, 1);
  }
}

constexpr ScalerKernels kPlain{halveRowsC, halveColumnsC, blendLumaC, blendChromaC, blendChromaPairsC};

#if defined(__x86_64__)

// The vector forms do whole blocks of a row, the plain forms what is left.
void halveRowsX86(const uint8_t* const rows[6], int16_t* kept, size_t width) {
  const size_t done = halveRowsAvx2(rows, kept, width);
  const uint8_t* rest[6];
  for (int i = 0; i < 6; ++i) rest[i] = rows[i] + done;
  halveRowsC(rest, kept + done, width - done);
}

void halveColumnsX86(const int16_t* kept, uint8_t* target, size_t width) {
  const size_t done = halveColumnsAvx2(kept, target, width);
  halveColumnsC(kept + 2 * done, target + done, width - done);
}

void blendLumaX86(const uint8_t* vuya, uint8_t* luma, size_t width) {
  const size_t done = blendLumaAvx2(vuya, luma, width);
  blendLumaC(vuya + 4 * done, luma + done, width - done);
}

void blendChromaX86(const uint8_t* upper, const uint8_t* lower, uint8_t* u, uint8_t* v, size_t width) {
  const size_t done = blendChromaAvx2(upper, lower, u, v, width);
  blendChromaC(upper + 8 * done, lower + 8 * done, u + done, v + done, width - done);
}

void blendChromaPairsX86(const uint8_t* upper, const uint8_t* lower, uint8_t* uv, size_t width) {
  const size_t done = blendChromaPairsAvx2(upper, lower, uv, width);
  blendChromaPairsC(upper + 8 * done, lower + 8 * done, uv + 2 * done, width - done);
}

constexpr ScalerKernels kAvx2{halveRowsX86, halveColumnsX86, blendLumaX86, blendChromaX86,
                              blendChromaPairsX86};

#endif

}  // namespace

ScalerKernels scalerKernels([[maybe_unused]] bool vector) {
#if defined(__x86_64__)
  if (vector && __builtin_cpu_supports("avx2")) return kAvx2;
#endif
  return kPlain;
}

}  // namespace qvs::intrinsic

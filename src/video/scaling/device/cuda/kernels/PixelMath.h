#pragma once

// Arithmetic that kernels share. The same on device and host to the last bit: no fused multiply and add.

#include <cstdint>

#include "video/scaling/device/cuda/kernels/CudaKernel.h"

namespace qvs::kernels {

QVS_DEVICE int clampTo(int value, int low, int high) {
  return value < low ? low : value > high ? high : value;
}

QVS_DEVICE uint8_t toByte(int value) {
  return static_cast<uint8_t>(clampTo(value, 0, 255));
}

/// To the nearest byte.
QVS_DEVICE uint8_t toByte(float value) {
  return toByte(static_cast<int>(value < 0 ? 0.0f : value + 0.5f));
}

/// a x b / 255 to the nearest, of bytes.
QVS_DEVICE int mulScale(int a, int b) {
  return (a * b + 127) / 255;
}

/// Four samples of one pixel, as they lie in memory.
struct alignas(4) Pixel4 {
  uint8_t c[4];
};

template <typename Sample>
QVS_DEVICE Sample* rowOf(Sample* plane, int pitch, int y) {
  return plane + static_cast<int64_t>(y) * pitch;
}

QVS_DEVICE Pixel4 loadPixel(const uint8_t* plane, int pitch, int x, int y) {
  return reinterpret_cast<const Pixel4*>(rowOf(plane, pitch, y))[x];
}

QVS_DEVICE void storePixel(uint8_t* plane, int pitch, int x, int y, Pixel4 pixel) {
  reinterpret_cast<Pixel4*>(rowOf(plane, pitch, y))[x] = pixel;
}

/// Full-range YUV of full-range RGB.
struct Yuv {
  uint8_t y, u, v;
};

/// By the weights of red and blue in luma.
QVS_DEVICE Yuv yuvOf(float r, float g, float b, float kr, float kb) {
  const float y = kr * r + (1 - kr - kb) * g + kb * b;
  return {toByte(y), toByte((b - y) / (2 * (1 - kb)) + 128), toByte((r - y) / (2 * (1 - kr)) + 128)};
}

inline constexpr float kRedOf709 = 0.2126f;
inline constexpr float kBlueOf709 = 0.0722f;

/// Catmull-Rom's cubic: Keys' convolution kernel with a = -0.5, four taps, which goes through the samples.
struct CubicTaps {
  int first;  ///< sample of the first weight; may lie outside
  float weight[4];
};

/// Taps of a target sample, with the outer edges of both rows aligned. Sizes up to 32767.
QVS_DEVICE CubicTaps cubicTaps(int target, int targetSize, int sourceSize) {
  // In whole numbers, so that a large picture has the weights of a small one.
  const int divisor = 2 * targetSize;
  const int dividend = (2 * target + 1) * sourceSize - targetSize;
  const int whole = dividend >= 0 ? dividend / divisor : -((divisor - 1 - dividend) / divisor);
  const float t = static_cast<float>(dividend - whole * divisor) / static_cast<float>(divisor);
  return {whole - 1,
          {((-0.5f * t + 1.0f) * t - 0.5f) * t, (1.5f * t - 2.5f) * t * t + 1.0f,
           ((-1.5f * t + 2.0f) * t + 0.5f) * t, (0.5f * t - 0.5f) * t * t}};
}

/// One component of a cubic: `step` bytes from sample to sample. Beyond the source's rectangle its edge repeats.
QVS_DEVICE uint8_t cubicSample(const uint8_t* source, int pitch, int width, int height, int step,
                               const CubicTaps& across, const CubicTaps& down) {
  float sum = 0;
  for (int j = 0; j < 4; ++j) {
    const uint8_t* row = rowOf(source, pitch, clampTo(down.first + j, 0, height - 1));
    float line = 0;
    for (int i = 0; i < 4; ++i) {
      line += across.weight[i] * static_cast<float>(row[clampTo(across.first + i, 0, width - 1) * step]);
    }
    sum += down.weight[j] * line;
  }
  return toByte(sum);
}

}  // namespace qvs::kernels

// The module of kernels for pictures: what is behind the image functions of NPP, and what is fused for the path of a
// frame.
#include "video/scaling/device/cuda/kernels/PixelMath.h"

using namespace qvs::kernels;

namespace {

/// The mean of up to four pixels' component.
QVS_DEVICE float meanOf(const uint8_t* source, int pitch, int width, int height, int x, int y,
                        int component) {
  const int right = 2 * x + 1 < width ? 2 * x + 1 : 2 * x;
  const int below = 2 * y + 1 < height ? 2 * y + 1 : 2 * y;
  const int sum = loadPixel(source, pitch, 2 * x, 2 * y).c[component] +
                  loadPixel(source, pitch, right, 2 * y).c[component] +
                  loadPixel(source, pitch, 2 * x, below).c[component] +
                  loadPixel(source, pitch, right, below).c[component];
  return static_cast<float>(sum) / 4;
}

}  // namespace

QVS_KERNEL(npp_resize_c1, const uint8_t* source, int sourcePitch, int sourceWidth, int sourceHeight,
           uint8_t* target, int targetPitch, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  rowOf<uint8_t>(target, targetPitch, y)[x] =
      cubicSample(source, sourcePitch, sourceWidth, sourceHeight, 1, cubicTaps(x, width, sourceWidth),
                  cubicTaps(y, height, sourceHeight));
}

QVS_KERNEL(npp_resize_c4, const uint8_t* source, int sourcePitch, int sourceWidth, int sourceHeight,
           uint8_t* target, int targetPitch, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const CubicTaps across = cubicTaps(x, width, sourceWidth);
  const CubicTaps down = cubicTaps(y, height, sourceHeight);
  Pixel4 pixel;
  for (int i = 0; i < 4; ++i) {
    pixel.c[i] = cubicSample(source + i, sourcePitch, sourceWidth, sourceHeight, 4, across, down);
  }
  storePixel(target, targetPitch, x, y, pixel);
}

// One thread a chroma sample.
QVS_KERNEL(npp_bgra_to_420, const uint8_t* source, int sourcePitch, uint8_t* targetY, uint8_t* targetU,
           uint8_t* targetV, int pitchY, int pitchU, int pitchV, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  for (int row = 2 * y; row < 2 * y + 2 && row < height; ++row) {
    for (int column = 2 * x; column < 2 * x + 2 && column < width; ++column) {
      const Pixel4 pixel = loadPixel(source, sourcePitch, column, row);
      rowOf<uint8_t>(targetY, pitchY, row)[column] =
          yuvOf(pixel.c[2], pixel.c[1], pixel.c[0], kRedOf709, kBlueOf709).y;
    }
  }
  float mean[3];
  for (int i = 0; i < 3; ++i) mean[i] = meanOf(source, sourcePitch, width, height, x, y, i);
  const Yuv color = yuvOf(mean[2], mean[1], mean[0], kRedOf709, kBlueOf709);
  rowOf<uint8_t>(targetU, pitchU, y)[x] = color.u;
  rowOf<uint8_t>(targetV, pitchV, y)[x] = color.v;
}

// One thread a chroma sample.
QVS_KERNEL(npp_nv12_to_420, const uint8_t* luma, const uint8_t* chroma, int lumaPitch, int chromaPitch,
           uint8_t* targetY, uint8_t* targetU, uint8_t* targetV, int pitchY, int pitchU, int pitchV,
           int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  for (int row = 2 * y; row < 2 * y + 2 && row < height; ++row) {
    for (int column = 2 * x; column < 2 * x + 2 && column < width; ++column) {
      rowOf<uint8_t>(targetY, pitchY, row)[column] = rowOf(luma, lumaPitch, row)[column];
    }
  }
  const uint8_t* pair = rowOf(chroma, chromaPitch, y) + 2 * x;
  rowOf<uint8_t>(targetU, pitchU, y)[x] = pair[0];
  rowOf<uint8_t>(targetV, pitchV, y)[x] = pair[1];
}

QVS_KERNEL(npp_copy_c4c1, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch, int width,
           int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  rowOf<uint8_t>(target, targetPitch, y)[x] = rowOf<const uint8_t>(source, sourcePitch, y)[4 * x];
}

QVS_KERNEL(npp_mulscale_c1, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  uint8_t& sample = rowOf<uint8_t>(target, targetPitch, y)[x];
  sample = static_cast<uint8_t>(mulScale(sample, rowOf<const uint8_t>(source, sourcePitch, y)[x]));
}

QVS_KERNEL(npp_not_c1, uint8_t* target, int targetPitch, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  uint8_t& sample = rowOf<uint8_t>(target, targetPitch, y)[x];
  sample = static_cast<uint8_t>(~sample);
}

// The sum over two to the power of `scaleFactor`, to the nearest.
QVS_KERNEL(npp_add_c1, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch, int width,
           int height, int scaleFactor) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  uint8_t& sample = rowOf<uint8_t>(target, targetPitch, y)[x];
  const int sum = sample + rowOf<const uint8_t>(source, sourcePitch, y)[x];
  sample = toByte((sum + ((1 << scaleFactor) >> 1)) >> scaleFactor);
}

// Draws an overlay made ready for it, color multiplied by alpha and alpha inverted, on a part of a planar picture. One
// thread a chroma sample; sizes are those in chroma samples. The overlay's planes are as the picture's: luma, then
// two of half size and pitch.
QVS_KERNEL(qvs_draw_overlay, uint8_t* y, uint8_t* u, uint8_t* v, int pitch, const uint8_t* overY,
           const uint8_t* overU, const uint8_t* overV, const uint8_t* clear, int overPitch,
           const uint8_t* clearHalf, int overHalfPitch, int width, int height) {
  const int column = QVS_X();
  const int row = QVS_Y();
  if (column >= width || row >= height) return;
  for (int i = 0; i < 4; ++i) {
    const int at = 2 * column + i % 2;
    const int line = 2 * row + i / 2;
    uint8_t& sample = rowOf<uint8_t>(y, pitch, line)[at];
    sample = toByte(mulScale(sample, rowOf<const uint8_t>(clear, overPitch, line)[at]) +
                    rowOf<const uint8_t>(overY, overPitch, line)[at]);
  }
  const int through = rowOf<const uint8_t>(clearHalf, overHalfPitch, row)[column];
  uint8_t& cb = rowOf<uint8_t>(u, pitch / 2, row)[column];
  uint8_t& cr = rowOf<uint8_t>(v, pitch / 2, row)[column];
  cb = toByte(mulScale(cb, through) + rowOf<const uint8_t>(overU, overHalfPitch, row)[column]);
  cr = toByte(mulScale(cr, through) + rowOf<const uint8_t>(overV, overHalfPitch, row)[column]);
}

// One thread a chroma sample.
QVS_KERNEL(qvs_planar_to_nv12, const uint8_t* y, const uint8_t* u, const uint8_t* v, int pitch, uint8_t* luma,
           uint8_t* chroma, int lumaPitch, int chromaPitch, int width, int height) {
  const int column = QVS_X();
  const int row = QVS_Y();
  if (2 * column >= width || 2 * row >= height) return;
  for (int line = 2 * row; line < 2 * row + 2 && line < height; ++line) {
    for (int at = 2 * column; at < 2 * column + 2 && at < width; ++at) {
      rowOf(luma, lumaPitch, line)[at] = rowOf(y, pitch, line)[at];
    }
  }
  uint8_t* pair = rowOf(chroma, chromaPitch, row) + 2 * column;
  pair[0] = rowOf(u, pitch / 2, row)[column];
  pair[1] = rowOf(v, pitch / 2, row)[column];
}

// BT.709 in full range, opaque; each pixel takes the chroma sample that covers it.
QVS_KERNEL(qvs_planar_to_bgra, const uint8_t* y, const uint8_t* u, const uint8_t* v, int pitch,
           uint8_t* target, int targetPitch, int width, int height) {
  const int column = QVS_X();
  const int row = QVS_Y();
  if (column >= width || row >= height) return;
  const float luma = rowOf(y, pitch, row)[column];
  const float cb = static_cast<float>(rowOf(u, pitch / 2, row / 2)[column / 2]) - 128;
  const float cr = static_cast<float>(rowOf(v, pitch / 2, row / 2)[column / 2]) - 128;
  storePixel(target, targetPitch, column, row,
             {{toByte(luma + 1.8556f * cb), toByte(luma - 0.18732f * cb - 0.46812f * cr),
               toByte(luma + 1.5748f * cr), 255}});
}

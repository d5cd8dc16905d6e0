// The module of conversions: packed, planar and captured pictures into each other, and what is drawn on pictures.
//
// "YUVA" is four bytes a pixel in that order, all full range. Pitches and offsets are bytes, sizes pixels of the
// target unless they say otherwise. A thread makes one pixel, or one chroma sample with its luma.
#include "video/scaling/device/cuda/kernels/PixelMath.h"

using namespace qvs::kernels;

/// Rows that make red, green and blue of luma and chroma; and what is laid over the packed result.
QVS_CONSTANT(float, constHueColorSpaceMat, 9);
QVS_CONSTANT(uint32_t, constAlpha, 1);

namespace {

constexpr uint8_t kOpaque = 255;
constexpr uint8_t kNeutral = 128;

struct Rgb {
  uint8_t r, g, b;
};

/// By the matrix in constant memory. One that stretches luma is for pictures in video range.
QVS_DEVICE Rgb rgbOf(int y, int u, int v) {
  const float* row = constHueColorSpaceMat;
  const float luma = static_cast<float>(y) - (row[0] > 1.01f ? 16.0f : 0.0f);
  const auto cb = static_cast<float>(u - kNeutral);
  const auto cr = static_cast<float>(v - kNeutral);
  return {toByte(row[0] * luma + row[1] * cb + row[2] * cr),
          toByte(row[3] * luma + row[4] * cb + row[5] * cr),
          toByte(row[6] * luma + row[7] * cb + row[8] * cr)};
}

/// From ten bits to eight, to the nearest.
QVS_DEVICE uint8_t byteOfTen(uint32_t value) {
  return toByte(static_cast<int>((value + 2) >> 2));
}

/// From video to full range where that is asked for.
QVS_DEVICE uint8_t rangedLuma(uint32_t ten, int expand) {
  return expand != 0 ? toByte((static_cast<float>(ten) - 64.0f) * (255.0f / 876.0f)) : byteOfTen(ten);
}
QVS_DEVICE uint8_t rangedChroma(uint32_t ten, int expand) {
  return expand != 0 ? toByte((static_cast<float>(ten) - 512.0f) * (255.0f / 896.0f) + 128.0f)
                     : byteOfTen(ten);
}

/// A pixel of "v210": six in four little-endian words, three samples a word, in the order U Y V Y.
struct Ten {
  uint32_t y, u, v;
};
QVS_DEVICE uint32_t v210Sample(const uint8_t* row, int index) {
  const uint32_t word = reinterpret_cast<const uint32_t*>(row)[index / 3];
  return word >> (index % 3 * 10) & 0x3ff;
}
QVS_DEVICE Ten v210Pixel(const uint8_t* row, int x) {
  const int pair = x / 2 * 4;
  return {v210Sample(row, x * 2 + 1), v210Sample(row, pair), v210Sample(row, pair + 2)};
}

QVS_DEVICE Ten v210At(const uint8_t* source, int pitch, int x, int y) {
  return v210Pixel(rowOf(source, pitch, y), x);
}

/// A pixel of "r210": a big-endian word with two unused bits on top of red, green and blue.
QVS_DEVICE Ten r210Pixel(const uint8_t* row, int x) {
  const uint8_t* p = row + 4 * x;
  const uint32_t word = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
  return {word >> 20 & 0x3ff, word >> 10 & 0x3ff, word & 0x3ff};
}

/// Eight-bit value of one of its components, unrounded. `narrow`: black is 64 and white 940.
QVS_DEVICE float r210Value(uint32_t ten, int narrow) {
  const auto value = static_cast<float>(ten);
  return narrow != 0 ? (value - 64.0f) * (255.0f / 876.0f) : value * (255.0f / 1023.0f);
}

/// Kinds of matrices are those of the library: 1 is BT.601, else BT.709.
QVS_DEVICE Yuv yuvOfR210(Ten rgb, int narrow, int kind) {
  return yuvOf(r210Value(rgb.y, narrow), r210Value(rgb.u, narrow), r210Value(rgb.v, narrow),
               kind == 1 ? 0.299f : kRedOf709, kind == 1 ? 0.114f : kBlueOf709);
}

/// The source's pixel under the middle of a target's pixel.
QVS_DEVICE int nearest(int target, int targetSize, int sourceSize) {
  return (2 * target + 1) * sourceSize / (2 * targetSize);
}

QVS_DEVICE int lesser(int a, int b) {
  return a < b ? a : b;
}

/// Means of a packed picture's 2x2 block at a chroma sample, edges repeated; components from `first` on.
struct Block {
  int u, v;
};
QVS_DEVICE Block chromaOfBlock(const uint8_t* source, int pitch, int width, int height, int x, int y,
                               int first) {
  Block sum{0, 0};
  for (int i = 0; i < 4; ++i) {
    const Pixel4 pixel =
        loadPixel(source, pitch, lesser(2 * x + i % 2, width - 1), lesser(2 * y + i / 2, height - 1));
    sum.u += pixel.c[first];
    sum.v += pixel.c[first + 1];
  }
  return {(sum.u + 2) / 4, (sum.v + 2) / 4};
}

/// Packed four-byte YUV into two planes; component `first` is luma.
QVS_DEVICE void packedToNV12(const uint8_t* source, int sourcePitch, uint8_t* luma, uint8_t* chroma,
                             int pitch, int width, int height, int x, int y, int first) {
  for (int i = 0; i < 4; ++i) {
    const int column = 2 * x + i % 2;
    const int row = 2 * y + i / 2;
    if (column >= width || row >= height) continue;
    rowOf(luma, pitch, row)[column] = loadPixel(source, sourcePitch, column, row).c[first];
  }
  const Block block = chromaOfBlock(source, sourcePitch, width, height, x, y, first + 1);
  uint8_t* pair = rowOf(chroma, pitch, y) + 2 * x;
  pair[0] = static_cast<uint8_t>(block.u);
  pair[1] = static_cast<uint8_t>(block.v);
}

}  // namespace

// Copies four-byte pixels.
QVS_KERNEL(Passthru_drvapi, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  storePixel(target, targetPitch, x, y, loadPixel(source, sourcePitch, x, y));
}

// Words of alpha, red, green, blue from the top; the chroma plane follows the luma plane.
QVS_KERNEL(NV12ToARGB_drvapi, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const uint8_t* pair = rowOf<const uint8_t>(source, sourcePitch, height + y / 2) + x / 2 * 2;
  const Rgb rgb = rgbOf(rowOf<const uint8_t>(source, sourcePitch, y)[x], pair[0], pair[1]);
  const uint32_t word = uint32_t{rgb.r} << 16 | uint32_t{rgb.g} << 8 | rgb.b | constAlpha[0];
  reinterpret_cast<uint32_t*>(rowOf<uint8_t>(target, targetPitch, y))[x] = word;
}

// The source, `filter` 0 by its nearest pixels and 1 by the cubic, into the target's rectangle.
QVS_KERNEL(TransformYUVA_drvapi, const uint8_t* source, int sourcePitch, int sourceWidth, int sourceHeight,
           uint8_t* target, int targetPitch, int left, int top, int width, int height, int filter) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  Pixel4 pixel =
      loadPixel(source, sourcePitch, nearest(x, width, sourceWidth), nearest(y, height, sourceHeight));
  if (filter != 0) {
    const CubicTaps across = cubicTaps(x, width, sourceWidth);
    const CubicTaps down = cubicTaps(y, height, sourceHeight);
    for (int c = 0; c < 4; ++c) {
      pixel.c[c] = cubicSample(source + c, sourcePitch, sourceWidth, sourceHeight, 4, across, down);
    }
  }
  storePixel(target, targetPitch, left + x, top + y, pixel);
}

QVS_KERNEL(YUVAToNV12_drvapi, const uint8_t* source, int sourcePitch, uint8_t* luma, uint8_t* chroma,
           int targetPitch, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  packedToNV12(source, sourcePitch, luma, chroma, targetPitch, width, height, x, y, 0);
}

// Of "AYUV", into two planes that follow one another.
QVS_KERNEL(AYUVToNV12_drvapi_old, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  packedToNV12(source, sourcePitch, target, rowOf<uint8_t>(target, targetPitch, height), targetPitch, width,
               height, x, y, 1);
}

// A part of the source, unscaled, to a place of the target; `left`, `atX` and `atY` are even. `expand`: to full range.
QVS_KERNEL(V210ToNV12Fast_drvapi, const uint8_t* source, int sourcePitch, int left, int top, uint8_t* luma,
           int lumaPitch, uint8_t* chroma, int chromaPitch, int atX, int atY, int width, int height,
           int expand) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  uint32_t u = 0;
  uint32_t v = 0;
  for (int i = 0; i < 2; ++i) {
    const int row = lesser(2 * y + i, height - 1);
    const uint8_t* from = rowOf<const uint8_t>(source, sourcePitch, top + row);
    for (int column = 2 * x; column < 2 * x + 2 && column < width; ++column) {
      rowOf<uint8_t>(luma, lumaPitch, atY + row)[atX + column] =
          rangedLuma(v210Pixel(from, left + column).y, expand);
    }
    const Ten pixel = v210Pixel(from, left + 2 * x);
    u += pixel.u;
    v += pixel.v;
  }
  uint8_t* pair = rowOf<uint8_t>(chroma, chromaPitch, atY / 2 + y) + atX + 2 * x;
  pair[0] = rangedChroma((u + 1) / 2, expand);
  pair[1] = rangedChroma((v + 1) / 2, expand);
}

// The whole source, by its nearest pixels, at the target's size.
QVS_KERNEL(V210ToNV12_drvapi, const uint8_t* source, int sourcePitch, int sourceWidth, int sourceHeight,
           uint8_t* luma, int lumaPitch, uint8_t* chroma, int chromaPitch, int width, int height,
           int expand) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  for (int i = 0; i < 4; ++i) {
    const int column = 2 * x + i % 2;
    const int row = 2 * y + i / 2;
    if (column >= width || row >= height) continue;
    const uint8_t* from = rowOf<const uint8_t>(source, sourcePitch, nearest(row, height, sourceHeight));
    rowOf<uint8_t>(luma, lumaPitch, row)[column] =
        rangedLuma(v210Pixel(from, nearest(column, width, sourceWidth)).y, expand);
  }
  const Ten above =
      v210At(source, sourcePitch, nearest(2 * x, width, sourceWidth), nearest(2 * y, height, sourceHeight));
  const Ten below = v210At(source, sourcePitch, nearest(2 * x, width, sourceWidth),
                           nearest(lesser(2 * y + 1, height - 1), height, sourceHeight));
  uint8_t* pair = rowOf<uint8_t>(chroma, chromaPitch, y) + 2 * x;
  pair[0] = rangedChroma((above.u + below.u + 1) / 2, expand);
  pair[1] = rangedChroma((above.v + below.v + 1) / 2, expand);
}

QVS_KERNEL(V210ToYUVA_drvapi, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const Ten pixel = v210Pixel(rowOf<const uint8_t>(source, sourcePitch, y), x);
  storePixel(target, targetPitch, x, y,
             {{byteOfTen(pixel.y), byteOfTen(pixel.u), byteOfTen(pixel.v), kOpaque}});
}

// The whole source, by its nearest pixels, at the target's size. `kind`: of the matrix.
QVS_KERNEL(R210ToNV12_drvapi, const uint8_t* source, int sourcePitch, int sourceWidth, int sourceHeight,
           uint8_t* luma, int lumaPitch, uint8_t* chroma, int chromaPitch, int width, int height, int narrow,
           int kind) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  Block sum{0, 0};
  for (int i = 0; i < 4; ++i) {
    const int column = lesser(2 * x + i % 2, width - 1);
    const int row = lesser(2 * y + i / 2, height - 1);
    const uint8_t* from = rowOf<const uint8_t>(source, sourcePitch, nearest(row, height, sourceHeight));
    const Yuv color = yuvOfR210(r210Pixel(from, nearest(column, width, sourceWidth)), narrow, kind);
    rowOf<uint8_t>(luma, lumaPitch, row)[column] = color.y;
    sum.u += color.u;
    sum.v += color.v;
  }
  uint8_t* pair = rowOf<uint8_t>(chroma, chromaPitch, y) + 2 * x;
  pair[0] = static_cast<uint8_t>((sum.u + 2) / 4);
  pair[1] = static_cast<uint8_t>((sum.v + 2) / 4);
}

// BT.709.
QVS_KERNEL(R210ToYUVA_drvapi, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height, int narrow) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const Yuv color = yuvOfR210(r210Pixel(rowOf<const uint8_t>(source, sourcePitch, y), x), narrow, 2);
  storePixel(target, targetPitch, x, y, {{color.y, color.u, color.v, kOpaque}});
}

// Blends a "YUVA" image's part at (left, top) on another at (atX, atY); `opacity` of 0 to 255 counts on top of the
// image's own, which has been multiplied in already where `premultiplied`. What lies outside is clipped.
QVS_KERNEL(OverlayImage_drvapi, uint8_t* target, int targetPitch, int targetWidth, int targetHeight,
           const uint8_t* image, int imagePitch, int left, int top, int width, int height, int atX, int atY,
           int opacity, int premultiplied) {
  const int x = QVS_X();
  const int y = QVS_Y();
  const int column = atX + x;
  const int row = atY + y;
  if (x >= width || y >= height || column < 0 || row < 0 || column >= targetWidth || row >= targetHeight)
    return;
  const Pixel4 over = loadPixel(image, imagePitch, left + x, top + y);
  Pixel4 pixel = loadPixel(target, targetPitch, column, row);
  const int alpha = mulScale(over.c[3], opacity);
  for (int i = 0; i < 3; ++i) {
    const int share = mulScale(over.c[i], premultiplied != 0 ? opacity : alpha);
    pixel.c[i] = toByte(mulScale(pixel.c[i], 255 - alpha) + share);
  }
  pixel.c[3] = toByte(mulScale(pixel.c[3], 255 - alpha) + alpha);
  storePixel(target, targetPitch, column, row, pixel);
}

// The planar picture's chroma planes lie at offsets of their own, so that either may come first; their pitch is half
// the luma's. `toPlanar` says which of the two is made.
QVS_KERNEL(NV12AndYV12Conversion_drvapi, uint8_t* nv12, int nv12Pitch, uint8_t* planar, int planarPitch,
           int64_t offsetU, int64_t offsetV, int width, int height, int toPlanar) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (2 * x >= width || 2 * y >= height) return;
  for (int i = 0; i < 4; ++i) {
    const int column = 2 * x + i % 2;
    const int row = 2 * y + i / 2;
    if (column >= width || row >= height) continue;
    uint8_t& one = rowOf<uint8_t>(nv12, nv12Pitch, row)[column];
    uint8_t& other = rowOf<uint8_t>(planar, planarPitch, row)[column];
    (toPlanar != 0 ? other : one) = toPlanar != 0 ? one : other;
  }
  uint8_t* pair = rowOf<uint8_t>(nv12, nv12Pitch, height + y) + 2 * x;
  uint8_t& u = rowOf<uint8_t>(planar + offsetU, planarPitch / 2, y)[x];
  uint8_t& v = rowOf<uint8_t>(planar + offsetV, planarPitch / 2, y)[x];
  if (toPlanar != 0) {
    u = pair[0];
    v = pair[1];
  } else {
    pair[0] = u;
    pair[1] = v;
  }
}

// Three planes of full size that follow one another as Y, U, V, their rows without gaps.
QVS_KERNEL(YV24ToYUVA_drvapi, const uint8_t* source, uint8_t* target, int targetPitch, int width,
           int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const int64_t plane = static_cast<int64_t>(width) * height;
  const uint8_t* at = rowOf<const uint8_t>(source, width, y) + x;
  storePixel(target, targetPitch, x, y, {{at[0], at[plane], at[2 * plane], kOpaque}});
}

QVS_KERNEL(YUVAToYV24_drvapi, const uint8_t* source, int sourcePitch, uint8_t* target, int width,
           int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const int64_t plane = static_cast<int64_t>(width) * height;
  const Pixel4 pixel = loadPixel(source, sourcePitch, x, y);
  uint8_t* at = rowOf<uint8_t>(target, width, y) + x;
  at[0] = pixel.c[0];
  at[plane] = pixel.c[1];
  at[2 * plane] = pixel.c[2];
}

QVS_KERNEL(NV12ToYUVA_drvapi, const uint8_t* luma, int lumaPitch, const uint8_t* chroma, int chromaPitch,
           uint8_t* target, int targetPitch, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const uint8_t* pair = rowOf<const uint8_t>(chroma, chromaPitch, y / 2) + x / 2 * 2;
  storePixel(target, targetPitch, x, y,
             {{rowOf<const uint8_t>(luma, lumaPitch, y)[x], pair[0], pair[1], kOpaque}});
}

// The mean of each square of `factor` pixels; the source's size is given, and both pictures' rows have no gaps.
QVS_KERNEL(YUVAScaleByFactor_drvapi, const uint8_t* source, uint8_t* target, int sourceWidth,
           int sourceHeight, int factor) {
  const int x = QVS_X();
  const int y = QVS_Y();
  const int width = sourceWidth / factor;
  if (x >= width || y >= sourceHeight / factor) return;
  int sum[4] = {0, 0, 0, 0};
  for (int row = y * factor; row < (y + 1) * factor; ++row) {
    for (int column = x * factor; column < (x + 1) * factor; ++column) {
      const Pixel4 pixel = loadPixel(source, 4 * sourceWidth, column, row);
      for (int i = 0; i < 4; ++i) sum[i] += pixel.c[i];
    }
  }
  Pixel4 mean;
  const int count = factor * factor;
  for (int i = 0; i < 4; ++i) mean.c[i] = static_cast<uint8_t>((sum[i] + count / 2) / count);
  storePixel(target, 4 * width, x, y, mean);
}

// `blueFirst`: "BGRA" instead of "RGBA".
QVS_KERNEL(YUVAToRGBA_drvapi, const uint8_t* source, int sourcePitch, uint8_t* target, int targetPitch,
           int width, int height, int blueFirst) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const Pixel4 from = loadPixel(source, sourcePitch, x, y);
  const Rgb rgb = rgbOf(from.c[0], from.c[1], from.c[2]);
  storePixel(target, targetPitch, x, y,
             {{blueFirst != 0 ? rgb.b : rgb.r, rgb.g, blueFirst != 0 ? rgb.r : rgb.b, from.c[3]}});
}

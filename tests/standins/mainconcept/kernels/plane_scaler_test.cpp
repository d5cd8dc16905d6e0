#include "ucc/kernels/PlaneScaler.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numbers>

#include "GuardedPlane.h"

namespace qvs::ucc {
namespace {

struct Shape {
  uint32_t srcWidth, srcHeight, dstWidth, dstHeight, components = 1;
  Orientation orientation = {};
};

std::ostream& operator<<(std::ostream& out, const Shape& s) {
  return out << s.srcWidth << "x" << s.srcHeight << " to " << s.dstWidth << "x" << s.dstHeight << " by "
             << s.components << " reversed " << s.orientation.columnsReversed << s.orientation.rowsReversed
             << (s.orientation.transposed ? " transposed" : "");
}

std::vector<uint8_t> scale(CpuLevel level, const Shape& shape, const GuardedPlane& src,
                           Guard guard = Guard::kBehind) {
  const ForcedLevel forced(level);
  GuardedPlane dst(size_t{shape.dstWidth} * shape.components, shape.dstHeight, 3, guard);
  PlaneScaler scaler;
  EXPECT_TRUE(scaler.configure(shape.srcWidth, shape.srcHeight, shape.dstWidth, shape.dstHeight,
                               shape.components, shape.orientation));
  scaler.run(src.data(), src.stride(), dst.data(), dst.stride());
  EXPECT_TRUE(dst.gapsIntact()) << shape;
  return dst.pixels();
}

/// Every level against the plain one, on both kinds of picture and with a guard on either side.
void expectLevelsAgree(const Shape& shape, std::mt19937& random) {
  for (const Guard guard : {Guard::kBefore, Guard::kBehind}) {
    GuardedPlane src(size_t{shape.srcWidth} * shape.components, shape.srcHeight, 0, guard);
    guard == Guard::kBefore ? src.fillExtremes(random) : src.fillRandom(random);
    const auto expected = scale(CpuLevel::kPlain, shape, src, guard);
    for (const CpuLevel level : vectorLevels()) {
      ASSERT_EQ(scale(level, shape, src, guard), expected) << shape << " " << nameOf(level);
    }
  }
}

TEST(PlaneScaler, LevelsAgreeAtEveryWidth) {
  std::mt19937 random(1);
  for (uint32_t width = 1; width <= 260; ++width) {
    for (const uint32_t target :
         {1u, width * 2 / 3, width / 2, width / 3, width / 5, width * 3 / 2, 77u, 130u}) {
      expectLevelsAgree({width, 7, std::max(target, 1u), 5, 1 + width % 2}, random);
    }
  }
}

TEST(PlaneScaler, LevelsAgreeAtUsualRatiosAndEveryHeight) {
  std::mt19937 random(2);
  for (const Shape& shape : {Shape{1920, 12, 1280, 8}, Shape{1920, 9, 854, 4}, Shape{1280, 6, 640, 3},
                             Shape{1280, 6, 1920, 9}, Shape{1920, 12, 640, 4}, Shape{960, 12, 640, 8, 2},
                             Shape{3840, 9, 426, 1}, Shape{1000, 3, 999, 2}, Shape{64, 3, 63, 3}}) {
    expectLevelsAgree(shape, random);
  }
  for (uint32_t height = 1; height <= 70; ++height) {
    for (const uint32_t target : {1u, 2u, height, height * 2 / 3 + 1, height * 2 + 1, 33u}) {
      expectLevelsAgree({67, height, 45, target}, random);
    }
  }
}

TEST(PlaneScaler, BottomUpPicturesScaleAlike) {
  std::mt19937 random(3);
  GuardedPlane src(90, 30), flipped(90, 30), dst(60, 20);
  src.fillRandom(random);
  for (uint32_t y = 0; y < 30; ++y) std::copy_n(src.row(y), 90, flipped.row(29 - y));
  PlaneScaler scaler;
  ASSERT_TRUE(scaler.configure(90, 30, 60, 20));
  scaler.run(flipped.row(29), -flipped.stride(), dst.row(19), -dst.stride());
  std::vector<uint8_t> upright;
  for (uint32_t y = 20; y-- > 0;) upright.insert(upright.end(), dst.row(y), dst.row(y) + 60);
  EXPECT_EQ(upright, scale(detectedCpuLevel(), {90, 30, 60, 20}, src));
}

TEST(PlaneScaler, FlatPicturesStayFlatAndSameSizeIsACopy) {
  for (const Shape& shape : {Shape{96, 54, 64, 36}, Shape{97, 55, 41, 23}, Shape{90, 90, 23, 23},
                             Shape{200, 200, 9, 7}, Shape{5, 5, 99, 77}, Shape{1, 1, 50, 50},
                             Shape{50, 50, 1, 1}, Shape{3, 2, 2, 3}, Shape{600, 2, 1, 2}}) {
    GuardedPlane src(shape.srcWidth, shape.srcHeight);
    for (int value = 0; value < 256; value += 5) {
      src.fill(static_cast<uint8_t>(value));
      ASSERT_THAT(scale(detectedCpuLevel(), shape, src), testing::Each(value)) << shape;
    }
  }
  std::mt19937 random(4);
  GuardedPlane src(33, 17);
  src.fillRandom(random);
  EXPECT_EQ(scale(detectedCpuLevel(), {33, 17, 33, 17}, src), src.pixels());
}

TEST(PlaneScaler, RefusesSizesOutOfRange) {
  PlaneScaler scaler;
  EXPECT_FALSE(scaler.configure(0, 1, 1, 1));
  EXPECT_FALSE(scaler.configure(1, 1, 1, 0));
  EXPECT_FALSE(scaler.configure(PlaneScaler::kMaxSize + 1, 1, 1, 1));
  EXPECT_FALSE(scaler.configure(8, 8, 4, 4, 0));
  EXPECT_FALSE(scaler.configure(8, 8, 4, 4, 3));
}

// A second opinion in double precision.

using Kernel = std::function<double(double)>;

double cubicKernel(double x) {
  constexpr double a = FilterBank::kCubic;
  x = std::fabs(x);
  if (x <= 1) return (a + 2) * x * x * x - (a + 3) * x * x + 1;
  return x < 2 ? a * x * x * x - 5 * a * x * x + 8 * a * x - 4 * a : 0;
}

double sinc(double x) {
  return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
}

double lanczosKernel(double x) {
  return std::fabs(x) < 3 ? sinc(x) * sinc(x / 3) : 0;
}

/// One dimension: `count` rows of `srcSize` samples, `step` apart, to rows of `dstSize`, transposed.
std::vector<double> resample(const std::vector<double>& in, uint32_t srcSize, uint32_t dstSize,
                             const Kernel& kernel, double support) {
  const size_t rows = in.size() / srcSize;
  const double ratio = double(srcSize) / dstSize;
  const double scale = std::max(1.0, ratio);
  std::vector<double> out(rows * dstSize);
  for (uint32_t i = 0; i < dstSize; ++i) {
    const double centre = (i + 0.5) * ratio;
    std::vector<std::pair<size_t, double>> taps;
    double sum = 0;
    for (auto p = long(std::floor(centre - support * scale)); p <= long(centre + support * scale); ++p) {
      const double weight = kernel((static_cast<double>(p) + 0.5 - centre) / scale);
      taps.emplace_back(std::clamp<long>(p, 0, long(srcSize) - 1), weight);
      sum += weight;
    }
    for (size_t row = 0; row < rows; ++row) {
      double value = 0;
      for (const auto& [at, weight] : taps) value += weight * in[row * srcSize + at];
      out[i * rows + row] = value / sum;
    }
  }
  return out;
}

std::vector<double> reference(const std::vector<uint8_t>& pixels, const Shape& s, const Kernel& kernel,
                              double support) {
  const std::vector<double> in(pixels.begin(), pixels.end());
  const auto columns = resample(in, s.srcWidth, s.dstWidth, kernel, support);
  auto out = resample(columns, s.srcHeight, s.dstHeight, kernel, support);
  for (double& value : out) value = std::clamp(value, 0.0, 255.0);
  return out;
}

/// A plane of values, turned step by step.
struct Values {
  uint32_t width, height, components;
  std::vector<double> at;

  void mirror() {
    move(width, height, [this](uint32_t x, uint32_t y) { return std::pair{width - 1 - x, y}; });
  }
  void turnClockwise() {
    move(height, width, [this](uint32_t x, uint32_t y) { return std::pair{y, height - 1 - x}; });
  }

 private:
  template <class From>
  void move(uint32_t newWidth, uint32_t newHeight, From from) {
    std::vector<double> moved;
    for (uint32_t y = 0; y < newHeight; ++y) {
      for (uint32_t x = 0; x < newWidth; ++x) {
        const auto [fromX, fromY] = from(x, y);
        for (uint32_t c = 0; c < components; ++c)
          moved.push_back(at[(size_t{fromY} * width + fromX) * components + c]);
      }
    }
    at = std::move(moved);
    width = newWidth;
    height = newHeight;
  }
};

/// `shape` is upright. Components are scaled each by itself.
Values scaledValues(const Shape& shape, const GuardedPlane& src) {
  Values values{shape.dstWidth, shape.dstHeight, shape.components, {}};
  const auto pixels = src.pixels();
  values.at.resize(size_t{shape.dstWidth} * shape.dstHeight * shape.components);
  for (uint32_t c = 0; c < shape.components; ++c) {
    std::vector<uint8_t> one;
    for (size_t i = c; i < pixels.size(); i += shape.components) one.push_back(pixels[i]);
    const auto scaled = reference(one, shape, cubicKernel, 2);
    for (size_t i = 0; i < scaled.size(); ++i) values.at[i * shape.components + c] = scaled[i];
  }
  return values;
}

struct Difference {
  double psnr, worst;
};

Difference compare(const std::vector<uint8_t>& pixels, const std::vector<double>& wanted) {
  double sum = 0, worst = 0;
  for (size_t i = 0; i < pixels.size(); ++i) {
    const double error = std::fabs(pixels[i] - wanted[i]);
    sum += error * error;
    worst = std::max(worst, error);
  }
  return {10 * std::log10(255 * 255 * double(pixels.size()) / sum), worst};
}

TEST(PlaneScaler, IsAsExactAsEightBitsAllow) {
  std::mt19937 random(5);
  // Rounding to whole numbers alone leaves 58.9 dB and an error of 0.5.
  for (const Shape& shape :
       {Shape{300, 150, 200, 100}, Shape{300, 150, 133, 67}, Shape{300, 150, 150, 75},
        Shape{300, 150, 100, 50}, Shape{300, 150, 40, 20}, Shape{100, 100, 223, 187}, Shape{101, 99, 99, 101},
        Shape{9, 5, 200, 100}, Shape{200, 100, 3, 2}, Shape{3000, 40, 20, 4}}) {
    GuardedPlane src(shape.srcWidth, shape.srcHeight);
    src.fillRandom(random);
    const auto difference =
        compare(scale(detectedCpuLevel(), shape, src), reference(src.pixels(), shape, cubicKernel, 2));
    EXPECT_GT(difference.psnr, 57.5) << shape;
    EXPECT_LT(difference.worst, 0.75) << shape;
  }
}

TEST(PlaneScaler, EveryTurnEqualsTurningTheScaledPicture) {
  std::mt19937 random(6);
  for (Shape shape :
       {Shape{150, 90, 100, 60}, Shape{151, 91, 99, 133}, Shape{151, 91, 41, 23, 2}, Shape{300, 200, 9, 7},
        Shape{97, 330, 80, 280, 2}, Shape{5, 3, 70, 90}, Shape{1, 1, 3, 2}, Shape{67, 131, 67, 131},
        Shape{130, 77, 130, 77, 2}, Shape{7, 9, 7, 9}}) {
    GuardedPlane src(size_t{shape.srcWidth} * shape.components, shape.srcHeight);
    src.fillRandom(random);
    const Values upright = scaledValues(shape, src);
    for (int turn = 0; turn < 8; ++turn) {
      Values wanted = upright;
      if (turn & 4) wanted.mirror();
      for (int i = 0; i < (turn & 3); ++i) wanted.turnClockwise();
      shape.orientation = makeOrientation(turn & 4, turn & 1, turn & 2);
      shape.dstWidth = wanted.width;
      shape.dstHeight = wanted.height;
      EXPECT_LT(compare(scale(detectedCpuLevel(), shape, src), wanted.at).worst, 0.75) << shape;
      expectLevelsAgree(shape, random);
    }
  }
}

// Whole tiles, what is left of them, and planes smaller than a tile.
TEST(PlaneScaler, TurnsPlanesOfAnySizeUnscaled) {
  std::mt19937 random(7);
  for (const uint32_t components : {1u, 2u}) {
    for (const uint32_t width : {1u, 7u, 16u, 31u, 32u, 33u, 64u, 95u, 130u}) {
      for (const uint32_t height : {1u, 8u, 15u, 16u, 17u, 64u, 65u, 100u}) {
        GuardedPlane src(size_t{width} * components, height);
        src.fillRandom(random);
        Values wanted{width, height, components, {}};
        for (const uint8_t sample : src.pixels()) wanted.at.push_back(sample);
        for (int turn = 1; turn < 4; ++turn) {
          wanted.turnClockwise();
          const Shape shape{width,         height,     wanted.width,
                            wanted.height, components, makeOrientation(false, turn & 1, turn & 2)};
          for (const CpuLevel level : {CpuLevel::kPlain, CpuLevel::kAvx2, CpuLevel::kAvx512}) {
            const auto got = scale(level, shape, src, Guard::kBefore);
            ASSERT_TRUE(std::equal(got.begin(), got.end(), wanted.at.begin(), wanted.at.end()))
                << shape << " " << nameOf(level);
          }
        }
      }
    }
  }
}

TEST(PlaneScaler, RealFrameIsNearALanczosScale) {
  const char* media = std::getenv("QVS_MEDIA");
  if (!media) GTEST_SKIP() << "QVS_MEDIA is not set: no real frame to scale";
  const std::string command =
      "ffmpeg -v error -ss 3 -i '" + std::string(media) +
      "/clips/hevc/crowd_1920x1080_25fps_4000kbps_h265.mp4' -frames:v 1 -pix_fmt gray -f rawvideo -";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::vector<uint8_t> pixels(1920 * 1080);
  const size_t got = fread(pixels.data(), 1, pixels.size(), pipe);
  pclose(pipe);
  if (got != pixels.size()) GTEST_SKIP() << "the clip or ffmpeg is missing: no real frame to scale";
  GuardedPlane src(1920, 1080);
  src.copyFrom(pixels);
  const Shape shape{1920, 1080, 1280, 720};
  const auto difference =
      compare(scale(detectedCpuLevel(), shape, src), reference(pixels, shape, lanczosKernel, 3));
  EXPECT_GE(difference.psnr, 47.9);
}

}  // namespace
}  // namespace qvs::ucc

#include "ucc/kernels/BgraTo420.h"

#include <gmock/gmock.h>

#include <cmath>

#include "GuardedPlane.h"

namespace qvs::ucc {
namespace {

const RgbToYuvMatrix k709Full = makeRgbToYuvMatrix(0.2126, 0.0722, true);
const RgbToYuvMatrix k601Short = makeRgbToYuvMatrix(0.299, 0.114, false);

struct Yuv {
  std::vector<uint8_t> y, u, v;
  bool operator==(const Yuv&) const = default;
};

Yuv convert(CpuLevel level, const GuardedPlane& src, const RgbToYuvMatrix& matrix,
            const RgbOrder& order = kBgraOrder, Guard guard = Guard::kBehind) {
  const ForcedLevel forced(level);
  const auto width = static_cast<uint32_t>(src.rowBytes() / 4);
  const uint32_t height = src.rows();
  GuardedPlane y(width, height, 5, guard), u(width / 2, height / 2, 3, guard),
      v(width / 2, height / 2, 0, guard);
  bgraTo420(src.data(), src.stride(), order, matrix,
            {y.data(), u.data(), v.data(), y.stride(), u.stride(), v.stride()}, width, height);
  EXPECT_TRUE(y.gapsIntact() && u.gapsIntact());
  return {y.pixels(), u.pixels(), v.pixels()};
}

TEST(BgraTo420, LevelsAgreeAtEveryWidth) {
  std::mt19937 random(1);
  for (uint32_t width = 1; width <= 260; ++width) {
    for (const uint32_t height : {1u, 2u, 5u}) {
      const Guard guard = height == 2 ? Guard::kBefore : Guard::kBehind;
      GuardedPlane src(size_t{4} * width, height, 0, guard);
      height == 5 ? src.fillExtremes(random) : src.fillRandom(random);
      for (const RgbToYuvMatrix& matrix : {k709Full, k601Short}) {
        const Yuv expected = convert(CpuLevel::kPlain, src, matrix, kBgraOrder, guard);
        for (const CpuLevel level : vectorLevels()) {
          ASSERT_EQ(convert(level, src, matrix, kBgraOrder, guard), expected)
              << width << "x" << height << " " << nameOf(level);
        }
      }
    }
  }
}

TEST(BgraTo420, IsNearTheRealNumbers) {
  std::mt19937 random(2);
  constexpr uint32_t kWidth = 130, kHeight = 40;
  GuardedPlane src(4 * kWidth, kHeight);
  src.fillRandom(random);
  const Yuv got = convert(detectedCpuLevel(), src, k709Full);
  const auto rgb = [&](uint32_t x, uint32_t y, int byte) { return double(src.row(y)[4 * x + byte]); };
  const auto luma = [](double r, double g, double b) { return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      ASSERT_NEAR(got.y[y * kWidth + x], luma(rgb(x, y, 2), rgb(x, y, 1), rgb(x, y, 0)), 0.53);
    }
  }
  for (uint32_t y = 0; y < kHeight / 2; ++y) {
    for (uint32_t x = 0; x < kWidth / 2; ++x) {
      double mean[3];
      for (int i = 0; i < 3; ++i) {
        mean[i] = (rgb(2 * x, 2 * y, i) + rgb(2 * x + 1, 2 * y, i) + rgb(2 * x, 2 * y + 1, i) +
                   rgb(2 * x + 1, 2 * y + 1, i)) /
                  4;
      }
      const double grey = luma(mean[2], mean[1], mean[0]);
      ASSERT_NEAR(got.u[y * kWidth / 2 + x], 128 + (mean[0] - grey) / 1.8556, 1.05);
      ASSERT_NEAR(got.v[y * kWidth / 2 + x], 128 + (mean[2] - grey) / 1.5748, 1.05);
    }
  }
}

TEST(BgraTo420, GreyIsGreyInBothRanges) {
  for (int grey = 0; grey < 256; ++grey) {
    GuardedPlane src(4 * 70, 2);
    src.fill(static_cast<uint8_t>(grey));
    const Yuv full = convert(detectedCpuLevel(), src, k709Full);
    EXPECT_THAT(full.y, testing::Each(grey));
    EXPECT_THAT(full.u, testing::Each(128));
    EXPECT_THAT(full.v, testing::Each(128));
    const Yuv narrow = convert(detectedCpuLevel(), src, k601Short);
    EXPECT_THAT(narrow.y, testing::Each(int(std::lround(16 + grey * 219.0 / 255))));
    EXPECT_THAT(narrow.u, testing::Each(128));
  }
}

}  // namespace
}  // namespace qvs::ucc

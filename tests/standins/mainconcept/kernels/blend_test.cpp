#include "ucc/kernels/Blend.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numeric>

#include "GuardedPlane.h"
#include "ucc/kernels/Plane.h"

namespace qvs::ucc {
namespace {

std::vector<CpuLevel> allLevels() {
  std::vector<CpuLevel> levels = vectorLevels();
  levels.push_back(CpuLevel::kPlain);
  return levels;
}

ConstPlane toRead(const GuardedPlane& plane) {
  return {plane.data(), plane.stride()};
}
MutablePlane toWrite(const GuardedPlane& plane) {
  return {plane.data(), plane.stride()};
}

TEST(Blend, RoundsEveryCombinationToTheNearest) {
  std::vector<uint8_t> alpha(256), above(256), below(256), wanted(256);
  std::iota(alpha.begin(), alpha.end(), uint8_t{0});
  for (const CpuLevel level : allLevels()) {
    const ForcedLevel forced(level);
    for (int a = 0; a < 256; ++a) {
      for (int b = 0; b < 256; ++b) {
        above.assign(256, static_cast<uint8_t>(a));
        below.assign(256, static_cast<uint8_t>(b));
        blendPlane({below.data(), 256}, {above.data(), 256}, {alpha.data(), 256}, 256, 1);
        for (int w = 0; w < 256; ++w) {
          const int twice = 2 * (a * w + b * (255 - w));
          wanted[w] = static_cast<uint8_t>((twice + 255) / 510);
        }
        ASSERT_EQ(below, wanted) << a << " over " << b << " " << nameOf(level);
      }
    }
  }
}

TEST(Blend, LevelsAgreeAtEveryWidthInPlanesAndPairs) {
  std::mt19937 random(1);
  for (uint32_t width = 1; width <= 260; ++width) {
    const Guard guard = width % 2 != 0 ? Guard::kBefore : Guard::kBehind;
    GuardedPlane u(width, 3, 0, guard), v(width, 3, 0, guard), alpha(width, 3, 0, guard);
    GuardedPlane plane(width, 3, 1, guard), pairs(2 * width, 3, 1, guard);
    for (const GuardedPlane* p : {&u, &v, &alpha}) const_cast<GuardedPlane*>(p)->fillRandom(random);
    plane.fillRandom(random);
    pairs.fillRandom(random);
    const auto planeBefore = plane.pixels(), pairsBefore = pairs.pixels();
    std::vector<std::vector<uint8_t>> results;
    for (const CpuLevel level : allLevels()) {
      const ForcedLevel forced(level);
      plane.copyFrom(planeBefore);
      pairs.copyFrom(pairsBefore);
      blendPlane(toWrite(plane), toRead(u), toRead(alpha), width, 3);
      blendPairs(toWrite(pairs), toRead(u), toRead(v), toRead(alpha), width, 3);
      ASSERT_TRUE(plane.gapsIntact() && pairs.gapsIntact()) << width;
      auto both = plane.pixels();
      const auto second = pairs.pixels();
      both.insert(both.end(), second.begin(), second.end());
      results.push_back(both);
    }
    for (const auto& result : results) ASSERT_EQ(result, results.back()) << width;
    for (uint32_t x = 0; x < width; ++x) {
      const double a = alpha.data()[x];
      ASSERT_NEAR(pairs.data()[2 * x], (u.data()[x] * a + pairsBefore[2 * x] * (255 - a)) / 255, 0.5);
      ASSERT_NEAR(pairs.data()[2 * x + 1], (v.data()[x] * a + pairsBefore[2 * x + 1] * (255 - a)) / 255, 0.5);
    }
  }
}

/// An overlay with its planes, of any size and phase.
struct Overlay {
  Overlay(uint32_t width, uint32_t height, ChromaPhase phase)
      : rgba(4 * width, height),
        y(width, height),
        alpha(width, height),
        u(overlayChromaSize(width, phase.x), overlayChromaSize(height, phase.y)),
        v(u.rowBytes(), u.rows()),
        chromaAlpha(u.rowBytes(), u.rows()) {}

  void split(const RgbToYuvMatrix& matrix, ChromaPhase phase) {
    makeOverlayPlanes(toRead(rgba), kBgraOrder, matrix, static_cast<uint32_t>(y.rowBytes()), y.rows(), phase,
                      {toWrite(y), toWrite(alpha), toWrite(u), toWrite(v), toWrite(chromaAlpha)});
  }

  GuardedPlane rgba, y, alpha, u, v, chromaAlpha;
};

const RgbToYuvMatrix k709Full = makeRgbToYuvMatrix(0.2126, 0.0722, true);

double blueDifference(const uint8_t* bgra) {
  const double luma = 0.0722 * bgra[0] + 0.7152 * bgra[1] + 0.2126 * bgra[2];
  return 128 + (bgra[0] - luma) / 1.8556;
}

TEST(OverlayPlanes, ChromaBlendsAsIfPixelByPixelInEveryPhase) {
  std::mt19937 random(2);
  constexpr int kBelow = 90;
  for (const auto& [width, height] : {std::pair{7u, 5u}, {8u, 4u}, {1u, 1u}, {2u, 3u}}) {
    for (const ChromaPhase phase : {ChromaPhase{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
      Overlay overlay(width, height, phase);
      overlay.rgba.fillRandom(random);
      overlay.split(k709Full, phase);
      GuardedPlane picture(overlay.u.rowBytes(), overlay.u.rows());
      picture.fill(kBelow);
      blendPlane(toWrite(picture), toRead(overlay.u), toRead(overlay.chromaAlpha),
                 static_cast<uint32_t>(picture.rowBytes()), picture.rows());

      std::vector<double> wanted(picture.rowBytes() * picture.rows(), kBelow);
      for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
          const uint8_t* pixel = overlay.rgba.row(y) + 4 * x;
          wanted[(y + phase.y) / 2 * picture.rowBytes() + (x + phase.x) / 2] +=
              (blueDifference(pixel) - kBelow) * pixel[3] / 255 / 4;
          ASSERT_EQ(overlay.alpha.row(y)[x], pixel[3]);
        }
      }
      const auto got = picture.pixels();
      for (size_t i = 0; i < got.size(); ++i) {
        EXPECT_NEAR(got[i], wanted[i], 1.8) << width << "x" << height << " " << int(phase.x) << int(phase.y);
      }
    }
  }
}

TEST(OverlayPlanes, TransparentColorsDoNotBleedAndOpaqueOnesMatchTheConverter) {
  Overlay edge(4, 2, {0, 0});
  edge.rgba.fill(0);
  for (uint32_t y = 0; y < 2; ++y) {
    for (uint32_t x = 0; x < 4; ++x) {
      const bool visible = x == 0;
      uint8_t* pixel = edge.rgba.row(y) + 4 * x;
      pixel[0] = visible ? 0 : 255;
      pixel[2] = visible ? 255 : 0;
      pixel[3] = visible ? 255 : 0;
    }
  }
  edge.split(k709Full, {0, 0});
  EXPECT_THAT(edge.u.pixels(), testing::ElementsAre(99, 128));
  EXPECT_THAT(edge.v.pixels(), testing::ElementsAre(255, 128));
  EXPECT_THAT(edge.chromaAlpha.pixels(), testing::ElementsAre(128, 0));

  std::mt19937 random(3);
  Overlay opaque(34, 6, {0, 0});
  opaque.rgba.fillRandom(random);
  for (size_t i = 3; i < 4 * 34 * 6; i += 4) opaque.rgba.data()[i] = 255;
  opaque.split(k709Full, {0, 0});
  GuardedPlane y(34, 6), u(17, 3), v(17, 3);
  bgraTo420(opaque.rgba.data(), opaque.rgba.stride(), kBgraOrder, k709Full,
            {y.data(), u.data(), v.data(), y.stride(), u.stride(), v.stride()}, 34, 6);
  EXPECT_EQ(opaque.y.pixels(), y.pixels());
  EXPECT_EQ(opaque.u.pixels(), u.pixels());
  EXPECT_EQ(opaque.v.pixels(), v.pixels());
}

TEST(Plane, CopiesAndFillsOnlyTheRows) {
  std::mt19937 random(4);
  for (const size_t gap : {size_t{0}, size_t{7}}) {
    GuardedPlane src(13, 5, gap), dst(13, 5, gap);
    src.fillRandom(random);
    copyPlane(src.data(), src.stride(), dst.data(), dst.stride(), 13, 5);
    EXPECT_EQ(dst.pixels(), src.pixels());
    copyPlane(src.row(4), -src.stride(), dst.row(4), -dst.stride(), 13, 5);
    EXPECT_EQ(dst.pixels(), src.pixels());
    fillPlane(dst.row(4), -dst.stride(), 13, 5, 77);
    EXPECT_THAT(dst.pixels(), testing::Each(77));
    fillPlane(dst.data(), dst.stride(), 13, 5, 78);
    EXPECT_THAT(dst.pixels(), testing::Each(78));
    EXPECT_TRUE(dst.gapsIntact());
  }
}

}  // namespace
}  // namespace qvs::ucc

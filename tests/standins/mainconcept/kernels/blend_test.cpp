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

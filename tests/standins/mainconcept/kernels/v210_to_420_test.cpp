#include "ucc/kernels/V210To420.h"

#include <gmock/gmock.h>

#include <cstring>

#include "GuardedPlane.h"

namespace qvs::ucc {
namespace {

using Planes = std::vector<std::vector<uint8_t>>;

Planes convert(CpuLevel level, const GuardedPlane& src, uint32_t width, Guard guard) {
  const ForcedLevel forced(level);
  const uint32_t height = src.rows();
  GuardedPlane y(width, height, 5, guard), u(width / 2, height / 2, 3, guard),
      v(width / 2, height / 2, 0, guard);
  v210To420(src.data(), src.stride(), {y.data(), u.data(), v.data(), y.stride(), u.stride(), v.stride()},
            width, height);
  EXPECT_TRUE(y.gapsIntact() && u.gapsIntact());
  return {y.pixels(), u.pixels(), v.pixels()};
}

/// By the format's definition: sample `index` of a row in the order U Y V Y.
uint32_t sampleAt(const uint8_t* row, uint32_t index) {
  uint32_t word = 0;
  std::memcpy(&word, row + index / 3 * 4, sizeof word);
  return word >> index % 3 * 10 & 1023;
}

TEST(V210To420, EveryLevelRoundsTheSamplesThatTheFormatNames) {
  std::mt19937 random(3);
  for (uint32_t width = 2; width <= 130; width += 2) {
    const Guard guard = width % 4 == 0 ? Guard::kBefore : Guard::kBehind;
    GuardedPlane src(size_t{16} * ((width + 5) / 6), 4, 0, guard);
    width % 3 == 0 ? src.fillExtremes(random) : src.fillRandom(random);
    const Planes plain = convert(CpuLevel::kPlain, src, width, guard);
    for (uint32_t y = 0; y < 4; ++y) {
      for (uint32_t x = 0; x < width; ++x) {
        ASSERT_EQ(plain[0][y * width + x], std::min((sampleAt(src.row(y), 2 * x + 1) + 2) / 4, 255u));
        if ((x | y) & 1) continue;
        const size_t at = y / 2 * (width / 2) + x / 2;
        for (uint32_t chroma : {0u, 1u}) {
          const uint32_t index = 2 * x + 2 * chroma;
          const uint32_t sum = sampleAt(src.row(y), index) + sampleAt(src.row(y + 1), index);
          ASSERT_EQ(plain[1 + chroma][at], std::min((sum + 4) / 8, 255u)) << width << ": " << x << "," << y;
        }
      }
    }
    for (const CpuLevel level : vectorLevels()) ASSERT_EQ(convert(level, src, width, guard), plain) << width;
  }
}

}  // namespace
}  // namespace qvs::ucc

#include "frames/kernels/SemiPlanar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "support/GuardedBytes.h"

namespace qvs {
namespace {

using test::GuardedBytes;

// Rows of one plane whose last row ends at, or whose first row begins at, the guarded edge.
struct Plane {
  Plane(size_t rowBytes, size_t rows, size_t slack, GuardedBytes::Edge edge)
      : stride(static_cast<ptrdiff_t>(rowBytes + slack)), bytes(stride * (rows - 1) + rowBytes, edge) {}

  void randomize(std::mt19937& random) {
    std::generate_n(bytes.data(), bytes.size(), [&] { return static_cast<uint8_t>(random()); });
  }
  std::vector<uint8_t> contents() const { return {bytes.data(), bytes.data() + bytes.size()}; }

  ptrdiff_t stride;
  GuardedBytes bytes;
};

class SemiPlanar : public testing::TestWithParam<CpuLevel> {
 protected:
  void SetUp() override {
    if (detectCpuLevel() < GetParam()) GTEST_SKIP() << "this processor lacks the instruction set";
    ASSERT_NE(semiPlanarKernels(GetParam()).merge, plain.merge);
    ASSERT_NE(semiPlanarKernels(GetParam()).split, plain.split);
  }

  const SemiPlanarKernels plain = semiPlanarKernels(CpuLevel::kC);
  std::mt19937 random{7};
};

std::vector<uint8_t> merged(const SemiPlanarKernels& kernels, const Plane& even, const Plane& odd,
                            size_t width, size_t rows, GuardedBytes::Edge edge) {
  Plane pairs(2 * width, rows, 11, edge);
  kernels.merge(even.bytes.data(), even.stride, odd.bytes.data(), odd.stride, pairs.bytes.data(),
                pairs.stride, width, rows);
  EXPECT_TRUE(pairs.bytes.slackIntact());
  return pairs.contents();
}

// Both planes, one after the other.
std::vector<uint8_t> split(const SemiPlanarKernels& kernels, const Plane& pairs, size_t width, size_t rows,
                           GuardedBytes::Edge edge) {
  Plane even(width, rows, 3, edge);
  Plane odd(width, rows, 17, edge);
  kernels.split(pairs.bytes.data(), pairs.stride, even.bytes.data(), even.stride, odd.bytes.data(),
                odd.stride, width, rows);
  EXPECT_TRUE(even.bytes.slackIntact() && odd.bytes.slackIntact());
  std::vector<uint8_t> planes = even.contents();
  const std::vector<uint8_t> second = odd.contents();
  planes.insert(planes.end(), second.begin(), second.end());
  return planes;
}

TEST_P(SemiPlanar, EqualsThePlainFormAtAllWidthsAndTouchesNothingElse) {
  const SemiPlanarKernels kernels = semiPlanarKernels(GetParam());
  for (size_t width = 1; width <= 260; ++width) {
    for (const size_t rows : {1, 3}) {
      for (const auto edge : {GuardedBytes::kEnd, GuardedBytes::kStart}) {
        SCOPED_TRACE(testing::Message() << width << " pairs, " << rows << " rows, edge " << edge);
        Plane even(width, rows, 5, edge);
        Plane odd(width, rows, 0, edge);
        Plane pairs(2 * width, rows, 1, edge);
        for (Plane* plane : {&even, &odd, &pairs}) plane->randomize(random);
        ASSERT_EQ(merged(kernels, even, odd, width, rows, edge), merged(plain, even, odd, width, rows, edge));
        ASSERT_EQ(split(kernels, pairs, width, rows, edge), split(plain, pairs, width, rows, edge));
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, SemiPlanar, testing::Values(CpuLevel::kAvx2, CpuLevel::kAvx512),
                         [](const auto& info) { return info.param == CpuLevel::kAvx2 ? "Avx2" : "Avx512"; });

TEST(SemiPlanarPlain, MergesAndSplits) {
  const SemiPlanarKernels kernels = semiPlanarKernels(CpuLevel::kC);
  const uint8_t even[] = {1, 2, 99, 3, 4};
  const uint8_t odd[] = {5, 6, 7, 8};
  uint8_t pairs[9] = {};
  kernels.merge(even, 3, odd, 2, pairs, 5, 2, 2);
  EXPECT_THAT(pairs, testing::ElementsAre(1, 5, 2, 6, 0, 3, 7, 4, 8));
  uint8_t first[4] = {}, second[4] = {};
  kernels.split(pairs, 5, first, 2, second, 2, 2, 2);
  EXPECT_THAT(first, testing::ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(second, testing::ElementsAre(5, 6, 7, 8));
}

}  // namespace
}  // namespace qvs

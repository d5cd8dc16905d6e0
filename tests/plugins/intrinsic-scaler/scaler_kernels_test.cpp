#include "HalfFilter.h"
#include "ScalerKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "support/GuardedBytes.h"

namespace qvs::intrinsic {
namespace {

using test::GuardedBytes;
using Bytes = std::vector<uint8_t>;

// Pictures that drive the arithmetic to its limits, beside noise.
enum class Content { kNoise, kZero, kFull, kAlternating };

class VectorKernels : public testing::TestWithParam<Content> {
 protected:
  void SetUp() override {
    if (vector.halveRows == plain.halveRows) GTEST_SKIP() << "this processor has no vector form";
  }

  // Fills memory that ends at a page nobody may touch.
  std::unique_ptr<GuardedBytes> content(size_t size) {
    auto bytes = std::make_unique<GuardedBytes>(size);
    std::generate_n(bytes->data(), size, [&]() -> uint8_t {
      switch (GetParam()) {
        case Content::kZero:
          return 0;
        case Content::kFull:
          return 255;
        case Content::kAlternating:
          return random() % 2 != 0 ? 255 : 0;
        default:
          return static_cast<uint8_t>(random());
      }
    });
    return bytes;
  }

  // What `draw` leaves of `size` bytes that hold `before`.
  static Bytes after(const GuardedBytes& before, const std::function<void(uint8_t*)>& draw) {
    GuardedBytes target(before.size());
    std::copy_n(before.data(), before.size(), target.data());
    draw(target.data());
    EXPECT_TRUE(target.slackIntact());
    return {target.data(), target.data() + target.size()};
  }

  const ScalerKernels plain = scalerKernels(false);
  const ScalerKernels vector = scalerKernels(true);
  std::mt19937 random{11};
};

TEST_P(VectorKernels, HalveAsThePlainForm) {
  for (size_t width = 1; width <= 200; ++width) {
    std::vector<std::unique_ptr<GuardedBytes>> held;
    const uint8_t* rows[6];
    for (auto& row : rows) {
      held.push_back(content(width));
      row = held.back()->data();
    }
    const auto halvedRows = [&](const ScalerKernels& kernels) {
      return after(GuardedBytes(2 * width),
                   [&](uint8_t* kept) { kernels.halveRows(rows, reinterpret_cast<int16_t*>(kept), width); });
    };
    ASSERT_EQ(halvedRows(vector), halvedRows(plain)) << "rows of " << width;

    // Kept samples reach from -2805 to 19125.
    GuardedBytes kept(2 * (2 * width + 2 * kTapMargin));
    auto* samples = reinterpret_cast<int16_t*>(kept.data());
    std::generate_n(samples, kept.size() / 2, [&] {
      return static_cast<int16_t>(GetParam() == Content::kNoise ? random() % 21931 - 2805
                                  : random() % 2 != 0           ? 19125
                                                                : -2805);
    });
    const auto halvedColumns = [&](const ScalerKernels& kernels) {
      return after(GuardedBytes(width),
                   [&](uint8_t* target) { kernels.halveColumns(samples + kTapMargin, target, width); });
    };
    ASSERT_EQ(halvedColumns(vector), halvedColumns(plain)) << "columns of " << width;
  }
}

TEST_P(VectorKernels, BlendAsThePlainForm) {
  for (size_t width = 1; width <= 100; ++width) {
    const auto upper = content(8 * width), lower = content(8 * width);
    const auto first = content(width), second = content(width), pairs = content(2 * width);
    const auto blended = [&](const ScalerKernels& kernels) {
      Bytes v;
      std::vector<Bytes> results;
      results.push_back(
          after(*pairs, [&](uint8_t* luma) { kernels.blendLuma(upper->data(), luma, 2 * width); }));
      results.push_back(after(*first, [&](uint8_t* u) {
        v = after(*second, [&](uint8_t* target) {
          kernels.blendChroma(upper->data(), lower->data(), u, target, width);
        });
      }));
      results.push_back(v);
      results.push_back(after(
          *pairs, [&](uint8_t* uv) { kernels.blendChromaPairs(upper->data(), lower->data(), uv, width); }));
      return results;
    };
    ASSERT_EQ(blended(vector), blended(plain)) << width;
  }
}

INSTANTIATE_TEST_SUITE_P(Contents, VectorKernels,
                         testing::Values(Content::kNoise, Content::kZero, Content::kFull,
                                         Content::kAlternating));

TEST(BlendKernels, RoundEveryAlphaAndLevelExactly) {
  for (const bool vector : {false, true}) {
    const ScalerKernels kernels = scalerKernels(vector);
    std::vector<uint8_t> overlay(4 * 256), row(256);
    for (int a = 0; a < 256; ++a) {
      for (int old = 0; old < 256; ++old) {
        for (int y = 0; y < 256; ++y) {
          overlay[4 * y + 2] = static_cast<uint8_t>(y);
          overlay[4 * y + 3] = static_cast<uint8_t>(a);
          row[y] = static_cast<uint8_t>(old);
        }
        kernels.blendLuma(overlay.data(), row.data(), 256);
        for (int y = 0; y < 256; ++y) {
          // Twice the value plus one half of 255, in whole numbers: the nearest level has no tie.
          ASSERT_EQ(row[y], (2 * (a * y + (255 - a) * old) + 255) / 510) << a << ' ' << y << " on " << old;
        }
      }
    }
  }
}

}  // namespace
}  // namespace qvs::intrinsic

#include "video/SampleRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace qvs::mc {
namespace {

/// The stated rule in plain arithmetic.
uint8_t expected(const std::vector<uint16_t>& a, const std::vector<uint16_t>& b, size_t index, uint32_t depth,
                 bool halve, bool merge) {
  const auto weighted = [&](const std::vector<uint16_t>& row) -> double {
    if (!halve) return row[index];
    const auto at = [&](ptrdiff_t x) {
      return row[static_cast<size_t>(std::clamp<ptrdiff_t>(x, 0, static_cast<ptrdiff_t>(row.size()) - 1))];
    };
    const auto x = static_cast<ptrdiff_t>(2 * index);
    return (at(x - 1) + 2.0 * at(x) + at(x + 1)) / 4;
  };
  const double value = merge ? (weighted(a) + weighted(b)) / 2 : weighted(a);
  return static_cast<uint8_t>(std::min(std::floor(value / (1 << (depth - 8)) + 0.5), 255.0));
}

TEST(SampleRows, RoundOnceToTheNearestInEveryForm) {
  std::mt19937 random(7);
  for (const uint32_t depth : {8u, 9u, 10u, 12u, 14u}) {
    for (const bool halve : {false, true}) {
      for (const bool merge : {false, true}) {
        for (const size_t width : {1u, 2u, 3u, 16u, 33u, 200u}) {
          std::vector<uint16_t> a(width), b(width);
          for (auto* row : {&a, &b}) {
            for (uint16_t& sample : *row) sample = static_cast<uint16_t>(random() & ((1u << depth) - 1));
            row->back() = static_cast<uint16_t>((1u << depth) - 1);
          }
          const std::vector<uint8_t> a8(a.begin(), a.end()), b8(b.begin(), b.end());
          const bool wide = depth > 8;
          const SampleRows rows{wide ? reinterpret_cast<const uint8_t*>(a.data()) : a8.data(),
                                wide ? reinterpret_cast<const uint8_t*>(b.data()) : b8.data(), width};
          const size_t count = halve ? (width + 1) / 2 : width;
          std::vector<uint8_t> out(count + 1, 0xA5);
          rowKernel(depth, halve, merge)(rows, depth, out.data(), count);
          for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(out[i], expected(a, b, i, depth, halve, merge))
                << depth << (halve ? " halved" : "") << (merge ? " merged" : "") << " width " << width
                << " at " << i;
          EXPECT_EQ(out[count], 0xA5);
        }
      }
    }
  }
}

}  // namespace
}  // namespace qvs::mc

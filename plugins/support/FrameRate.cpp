// A frame rate as a fraction.
#include "FrameRate.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qvs::plugins {

FrameRate frameRateOf(double rate) {
  const double whole = std::round(rate * 1.001);
  const bool ntsc = std::abs(rate - std::round(rate)) > 0.005 && std::abs(whole * 1000 / 1001 - rate) < 0.005;
  const auto num = static_cast<uint32_t>(std::max(1L, std::lround((ntsc ? whole : rate) * 1000)));
  const uint32_t den = ntsc ? 1001 : 1000;
  const uint32_t common = std::gcd(num, den);
  return {num / common, den / common};
}

}  // namespace qvs::plugins

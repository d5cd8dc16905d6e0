// A frame rate as the simplest fraction near it.
#include "video/encoders/VPXTimebase.h"

#include <cmath>

namespace qvs {

namespace {

constexpr double kMaxFrameRate = 200000.0;  // times 10000 must fit an int

int rounded(double value) {
  return static_cast<int>(std::lround(value));
}

vpx_rational_t simplest(double frameRate) {
  const int whole = rounded(frameRate);
  if (std::fabs(frameRate - whole) < 0.0001) return {1, whole};
  const int ntsc = rounded(frameRate * 1.001);
  if (std::fabs(ntsc * 1000.0 - 1001.0 * frameRate) < 10.0) return {1001, ntsc * 1000};
  return {10000, rounded(frameRate * 10000.0)};
}

}  // namespace

std::optional<vpx_rational_t> VPXTimebase::fromFrameRate(double frameRate) {
  if (!(frameRate > 0.0 && frameRate <= kMaxFrameRate)) return std::nullopt;
  const vpx_rational_t timebase = simplest(frameRate);
  if (timebase.den < 1) return std::nullopt;
  return timebase;
}

}  // namespace qvs

// Measuring the real frame rate, to correct a rate control that believes the nominal one.
#include "avc/AvcRateFollower.h"

#include <algorithm>
#include <cmath>

namespace qvs::mc {

namespace {

constexpr int64_t kSecond = 10000000;
constexpr int32_t kFewest = 6;   // durations that outweigh the jitter of a feed
constexpr double kCoarse = 0.3;  // deviation that needn't wait for a whole window
constexpr double kFine = 0.03;   // deviation that counts after one
constexpr double kLeast = 1.0 / 64, kMost = 64;

}  // namespace

bool AvcRateFollower::add(int64_t time) {
  const int64_t duration = time - last;
  last = time;
  const bool jump = duration <= 0 || duration > kSecond;
  if (!started || jump) {
    started = true;
    sum = count = 0;
    return false;
  }
  sum += duration;
  ++count;
  if (count < kFewest) return false;
  const double wanted = std::clamp(static_cast<double>(sum) / count / nominal, kLeast, kMost);
  const double deviation = std::abs(wanted / inForce - 1);
  const bool whole = sum >= kSecond;
  if (whole || deviation > kCoarse) sum = count = 0;
  if (deviation <= (whole ? kFine : kCoarse)) return false;
  inForce = std::abs(wanted - 1) <= kFine ? 1.0 : wanted;
  return true;
}

}  // namespace qvs::mc

// What the settings of the software encoders mean in rates and threads.
#include "H26xSettings.h"

#include <algorithm>

#include "CpuShare.h"

namespace qvs::plugins {
namespace {

int kilobits(int64_t bits) {
  constexpr int64_t kMost = 2'000'000;  // codecs count bits in 32
  return static_cast<int>(std::clamp<int64_t>(bits / 1000, 1, kMost));
}

}  // namespace

int H26xSettings::threadCount() const {
  constexpr uint32_t kMost = 64;
  return threads != 0 ? static_cast<int>(threads) : static_cast<int>(std::min(cpuShare(), kMost));
}

bool H26xRates::set(const H26xSettings& settings, uint32_t bitsPerSecond, std::string& problem) {
  *this = {};
  if (settings.rateControl == H26xSettings::kConstantQp) return true;
  const bool buffered = settings.vbvBuffer >= 0;
  const int64_t most = std::max<int64_t>(settings.vbvMaxRate, bitsPerSecond);
  if (settings.rateControl == H26xSettings::kBitRate && bitsPerSecond == 0) {
    problem = "no bit rate is set";
    return false;
  }
  if (buffered && most == 0) {
    problem = "capped quality needs a bit rate or vbvMaxRate, or vbvBuffer -1";
    return false;
  }
  bitRate = kilobits(bitsPerSecond);
  if (!buffered) return true;
  // With a quality the bit rate is nothing but the cap, unless there is another.
  const bool capped = settings.rateControl == H26xSettings::kCappedQuality && settings.vbvMaxRate > 0;
  maxRate = kilobits(capped ? settings.vbvMaxRate : most);
  buffer = settings.vbvBuffer > 0 ? kilobits(settings.vbvBuffer) : maxRate;
  return true;
}

bool H26xRates::change(const H26xSettings& settings, uint32_t from, uint32_t to, std::string& problem) {
  if (!set(settings, to, problem)) return false;
  if (settings.rateControl == H26xSettings::kConstantQp) {
    problem = "a constant quantizer has no bit rate to change";
    return false;
  }
  const bool bitRateCaps = settings.vbvMaxRate == 0 && settings.vbvBuffer >= 0 && from != 0;
  if (settings.rateControl == H26xSettings::kBitRate || bitRateCaps) return true;
  problem = "the bit rate is not what caps this quality";
  return false;
}

}  // namespace qvs::plugins

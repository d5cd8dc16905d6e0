// What a repeated piece of work leaves behind.
#include "common/LeakMeter.h"

#include <malloc.h>

#include <algorithm>
#include <array>
#include <filesystem>

namespace qvs::validator {
namespace {

constexpr int kWarmUp = 15, kMostRounds = 10, kCycles = 12;

struct Measure {
  const char* what;
  long (*now)();
};

long entriesOf(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return std::distance(begin(entries), end(entries));
}

// Small blocks that a thread keeps for itself count as used, so one or two may come and go.
constexpr long kNoise = 80;

constexpr std::array kMeasures{Measure{"bytes of memory",
                                       [] {
                                         const struct mallinfo2 info = mallinfo2();
                                         return static_cast<long>(info.uordblks + info.hblkhd);
                                       }},
                               Measure{"open files", [] { return entriesOf("/proc/self/fd"); }},
                               Measure{"threads", [] { return entriesOf("/proc/self/task"); }}};

// What a round left behind beyond what comes and goes by itself, in words; empty is nothing.
std::string grown(const std::array<long, kMeasures.size()>& least, unsigned allowed) {
  for (size_t i = 0; i < kMeasures.size(); ++i) {
    const long enough = i == 0 ? kCycles * (kNoise + static_cast<long>(allowed)) : 0;
    if (least[i] <= enough) continue;
    return std::to_string(least[i]) + " " + kMeasures[i].what + " are left behind by " +
           std::to_string(kCycles) + " sessions, again and again";
  }
  return {};
}

}  // namespace

std::string whatGrows(const std::function<void()>& cycle, unsigned allowed) {
  std::array<long, kMeasures.size()> least;
  least.fill(1L << 40);
  for (int i = 0; i < kWarmUp; ++i) cycle();
  // A leak shows in every round; one round without it is enough.
  std::string found = "nothing measured";
  for (int round = 0; round < kMostRounds && !found.empty(); ++round) {
    std::array<long, kMeasures.size()> before;
    for (size_t i = 0; i < kMeasures.size(); ++i) before[i] = kMeasures[i].now();
    for (int i = 0; i < kCycles; ++i) cycle();
    for (size_t i = 0; i < kMeasures.size(); ++i)
      least[i] = std::min(least[i], kMeasures[i].now() - before[i]);
    found = grown(least, allowed);
  }
  return found;
}

}  // namespace qvs::validator

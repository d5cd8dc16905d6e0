// What a run cost.
#include <ctime>

#include "plugins/EncoderRuns.h"
#include "support/AllocationCounter.h"

namespace qvs::bench {
namespace {

double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace

RunMeter::RunMeter(const PluginJob& job) : half(job.pictures.size() / 2) {}

void RunMeter::begin(size_t picture) {
  if (picture == 0) start = cpuSeconds();
  if (picture == half) allocationsAtHalf = test::allocationsSoFar();
  pictures = picture + 1;
}

void RunMeter::add(const uint8_t* bytes, size_t size) {
  ++run.frames;
  run.bytes += size;
  // A sample is enough to tell two streams apart, and weighs on neither road.
  for (size_t i = 0; i < size; i += 64) run.sum = (run.sum ^ bytes[i]) * 0x100000001B3u;
}

EncoderRun RunMeter::finish() {
  run.cpuSeconds = cpuSeconds() - start;
  const auto counted = static_cast<double>(test::allocationsSoFar() - allocationsAtHalf);
  run.allocations = counted / static_cast<double>(pictures - half);
  return run;
}

}  // namespace qvs::bench

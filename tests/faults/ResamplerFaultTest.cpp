#include <gtest/gtest.h>

#include <new>

#include "../audio/SampleBlocks.h"
#include "support/FailingAllocator.h"

namespace qvs::test {
namespace {

constexpr uint32_t kBlocks = 12;
constexpr uint32_t kBlock = 1024;
#ifdef QVS_WRAPPED_ALLOCATOR
constexpr int64_t kLostByLibrary = 0;  // its allocations aren't seen
#else
constexpr int64_t kLostByLibrary = 1;  // libswresample forgets a buffer that it can't make larger
#endif

class DroppingLogger : public ILogger {
 public:
  void debug(const std::string&) override {}
  void info(const std::string&) override {}
  void warn(const std::string&) override {}
  void error(const std::string&) override {}
  void fatal(const std::string&) override {}
  void debug(int, int, const std::string&) override {}
  void info(int, int, const std::string&) override {}
  void warn(int, int, const std::string&) override {}
  void error(int, int, const std::string&) override {}
  void fatal(int, int, const std::string&) override {}
};

void feed(AudioResampler& resampler, const std::vector<int16_t>& samples, uint32_t block,
          AudioSampleBuffer& out) {
  const uint32_t channels = block < kBlocks / 3 ? 2 : 1;
  const uint64_t gap = block < 2 * kBlocks / 3 ? 0 : 5000;
  AudioSampleBuffer in;
  fillBlock(in, samples.data(), kBlock, channels, 44100, block * kBlock + gap);
  out.setSampleCount(0);
  if (block % 3 == 2) out = AudioSampleBuffer();
  // Out of memory may reach the caller, who guards the call; the resampler must be fit for the next one.
  try {
    resampler.resample(in, out);
  } catch (const std::bad_alloc&) {
    out.setSampleCount(0);
  }
}

/// Two formats and a gap through one resampler; samples per channel that came out.
uint64_t walk(const std::vector<int16_t>& samples, ILogger& log) {
  uint64_t total = 0;
  AudioResampler resampler;
  resampler.setLogger(&log);
  setTarget(resampler, 48000, 2);
  AudioSampleBuffer out;
  for (uint32_t block = 0; block < kBlocks; ++block) {
    feed(resampler, samples, block, out);
    total += out.getSampleCount();
  }
  return total;
}

class ResamplerFault : public testing::TestWithParam<FailureMode> {};

TEST_P(ResamplerFault, EveryAllocation) {
  const std::vector<int16_t> samples(kBlock * 2, 1000);
  DroppingLogger log;
  const uint64_t good = walk(samples, log);
  ASSERT_GT(good, 12000u);
  armAllocator(0, FailureMode::Once);
  walk(samples, log);
  const AllocatorReport baseline = disarmAllocator();
  uint64_t number = 1;
  for (bool reached = true; reached; ++number) {
    ASSERT_LT(number, 4 * baseline.allocations + 100);
    armAllocator(number, GetParam());
    const uint64_t hurt = walk(samples, log);
    const AllocatorReport report = disarmAllocator();
    reached = report.failed;
    EXPECT_LE(report.liveBlocks, baseline.liveBlocks + kLostByLibrary)
        << "leak after failing allocation " << number;
    EXPECT_LE(hurt, good + 2048);
    ASSERT_EQ(walk(samples, log), good) << "after failing allocation " << number;
  }
  EXPECT_GT(number, 10u);
}

INSTANTIATE_TEST_SUITE_P(Modes, ResamplerFault, testing::Values(FailureMode::Once, FailureMode::FromThen),
                         [](const auto& info) {
                           return info.param == FailureMode::Once ? "OneFails" : "AllFailFromThen";
                         });

}  // namespace
}  // namespace qvs::test

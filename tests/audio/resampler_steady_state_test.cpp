#include <gtest/gtest.h>

#include "../frames/AllocationCounter.h"
#include "SampleBlocks.h"

namespace qvs {
namespace {

TEST(ResamplerSteadyState, AllocatesOnlyForTheFirstBlockOfASize) {
  struct Target {
    uint32_t rate, channels;
  };
  for (const Target& target : {Target{48000, 2}, {44100, 2}, {8000, 1}, {192000, 2}}) {
    AudioResampler resampler;
    test::setTarget(resampler, target.rate, target.channels);
    AudioSampleBuffer in, out;
    const std::vector<int16_t> samples(2048, 1000);
    uint64_t warm = 0;
    for (uint64_t block = 0; block < 400; ++block) {
      if (block == 200) warm = test::allocationsSoFar();
      test::fillBlock(in, samples.data(), 1024, 2, 44100, block * 1024);
      resampler.resample(in, out);
    }
    EXPECT_EQ(test::allocationsSoFar(), warm) << target.rate;
  }
}

}  // namespace
}  // namespace qvs

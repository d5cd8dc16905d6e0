#include <gtest/gtest.h>

#include <random>

#include "SampleBlocks.h"

namespace qvs {
namespace {

using test::fillBlock;
using test::setTarget;

constexpr uint32_t kRates[] = {0,     1,     999,    1000,   8000,        44100,
                               48000, 48000, 192000, 768000, 4000000000u, 0xFFFFFFFFu};
constexpr uint32_t kChannels[] = {0, 1, 2, 2, 6, 8, 16, 17, 255, 256, 257, 0xFFFFFFFFu};
constexpr uint64_t kTimecodes[] = {0, 1, 48000, ~uint64_t{0}, uint64_t{1} << 63};

template <typename T, size_t N>
T pick(const T (&values)[N], std::mt19937& random) {
  return values[random() % N];
}

/// A good block must come out right whatever came before.
void expectGoodAudio(AudioResampler& resampler, AudioSampleBuffer& out) {
  setTarget(resampler, 48000, 2);
  resampler.setSourceChannelMask(0);
  const std::vector<int16_t> samples(8820 * 2, 4321);
  AudioSampleBuffer in;
  uint64_t total = 0;
  for (uint64_t block = 0; block < 3; ++block) {
    fillBlock(in, samples.data(), 8820, 2, 44100, 1000000 + block * 8820);
    ASSERT_EQ(resampler.resample(in, out), 0u);
    if (block == 0) continue;  // may carry the rest of what came before
    total += out.getSampleCount();
    ASSERT_GT(out.getSampleCount(), 100u);
    ASSERT_EQ(test::samplesOf(out)[out.getSampleCount()], 4321);
  }
  EXPECT_GT(total, 3 * 9600u - 9700u);
}

TEST(HostileBlocks, FormatsThatLieLeaveTheNextGoodBlockAlone) {
  std::mt19937 engine(3);
  const auto random = [&] { return static_cast<uint32_t>(engine()); };
  AudioSampleBuffer in, out;
  for (int round = 0; round < 60; ++round) {
    AudioResampler resampler;
    for (int block = 0; block < 60; ++block) {
      setTarget(resampler, pick(kRates, engine), pick(kChannels, engine), random() % 3 == 0 ? random() : 0);
      resampler.setSourceChannelMask(random() % 3 == 0 ? random() : 0);
      in = AudioSampleBuffer();
      if (random() % 8 != 0) in.allocBuffer(random() % 3000, 1 + random() % 4, 48000);
      in.setSampleCount(random() % 4 == 0 ? random() : random() % 3000);
      in.setChannels(pick(kChannels, engine));
      in.setSampleRate(pick(kRates, engine));
      in.setTimecode(pick(kTimecodes, engine));
      AudioSampleBuffer& target = random() % 2 == 0 ? in : out;
      ASSERT_EQ(resampler.resample(in, target), 0u);
      ASSERT_LE(uint64_t{target.getSampleCount()} * target.getChannels() * 2,
                target.getSampleCount() != 0 ? target.getLen() : 0);
    }
    ASSERT_NO_FATAL_FAILURE(expectGoodAudio(resampler, out));
  }
}

TEST(HostileBlocks, SettersOfALiveConverterDivideByNothing) {
  AudioResampler resampler;
  AudioSampleBuffer in, out;
  setTarget(resampler, 48000, 2);
  const std::vector<int16_t> samples(2000, 1);
  fillBlock(in, samples.data(), 1000, 2, 44100, 0);
  resampler.resample(in, out);
  setTarget(resampler, 0, 0);
  fillBlock(in, samples.data(), 1000, 2, 44100, 1000);
  EXPECT_EQ(resampler.resample(in, out), 0u);
  EXPECT_EQ(resampler.flush(out), 0u);
  EXPECT_EQ(resampler.close(), 0u);
  EXPECT_EQ(resampler.flush(), 0u);
  EXPECT_EQ(resampler.addSamplesToBuffer(out), 0u);
  ASSERT_NO_FATAL_FAILURE(expectGoodAudio(resampler, out));
}

}  // namespace
}  // namespace qvs

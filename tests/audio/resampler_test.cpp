#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "SampleBlocks.h"
#include "support/SweptSine.h"

namespace qvs {
namespace {

using test::fillBlock;
using test::samplesOf;
using test::setTarget;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// A resampler with its log and the output gathered from all blocks.
class Resampler : public testing::Test {
 protected:
  Resampler() { resampler.setLogger(&log); }

  /// `count` samples of `level` in every channel.
  uint32_t feed(uint32_t count, uint32_t channels, uint32_t rate, uint64_t timecode, int16_t level = 1000) {
    const std::vector<int16_t> samples(size_t{count} * channels, level);
    fillBlock(in, samples.data(), count, channels, rate, timecode);
    EXPECT_EQ(resampler.resample(in, out), 0u);
    return out.getSampleCount();
  }

  LogCollector log;
  AudioResampler resampler;
  AudioSampleBuffer in;
  AudioSampleBuffer out;
};

TEST_F(Resampler, TiesItsClockToTheFirstBlock) {
  setTarget(resampler, 44100, 2);
  EXPECT_GT(feed(1000, 2, 48000, 48000), 0u);
  EXPECT_EQ(out.getTimecode(), 44100u);
  EXPECT_EQ(out.getSampleRate(), 44100u);
  EXPECT_EQ(out.getChannels(), 2u);
  EXPECT_EQ(resampler.resample(*std::make_unique<AudioSampleBuffer>(), out), 0u);
  EXPECT_EQ(out.getSampleCount(), 0u) << "a block without samples";
  EXPECT_GT(feed(1000, 2, 48000, 49000), 0u) << "the empty block was no gap";
}

TEST_F(Resampler, SaysWhatItConvertsAndShowsTheTargetsMaskTwice) {
  setTarget(resampler, 48000, 2);
  resampler.setLogContext(4);
  resampler.setSessionIndex(7);
  feed(100, 6, 44100, 0);
  std::vector<LogStatement> lines;
  log.getLogStatements(lines);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].str,
            "AudioResampler.setup[{context}]: source[rate/channels/mask]: 44100/6/0x3 "
            "destination[rate/channels/mask]: 48000/2/0x3");
  EXPECT_EQ(lines[0].level, kLogInfo);
  EXPECT_EQ(lines[0].contextType, 4);
  EXPECT_EQ(lines[0].contextIndex, 7);
  feed(100, 6, 44100, 5000);
  EXPECT_THAT(test::linesOf(log), IsEmpty()) << "too soon after the last line";
}

TEST_F(Resampler, DrainsBeforeItStartsAnew) {
  setTarget(resampler, 48000, 1);
  uint32_t made = feed(44100, 1, 44100, 44100, 5000);
  EXPECT_EQ(out.getTimecode(), 48000u);
  EXPECT_LT(made, 48000u) << "the filter holds samples back";
  const uint32_t rest = feed(44100, 1, 44100, 100000, -5000);
  EXPECT_EQ(made + rest, 48000u) << "the drain alone: a call never gives two blocks";
  EXPECT_EQ(out.getTimecode(), 48000u + made);
  EXPECT_EQ(samplesOf(out)[0], 5000);
  const uint32_t second = feed(44100, 1, 44100, 144100, -5000);
  EXPECT_EQ(out.getTimecode(), 48000ull * 100000 / 44100) << "the new clock";
  EXPECT_GT(second, 95000u) << "what waited, and its own";
  EXPECT_EQ(samplesOf(out)[100], -5000);
}

TEST_F(Resampler, FollowsAFormatThatChangesMidStream) {
  setTarget(resampler, 48000, 2);
  uint64_t total = 0;
  struct Part {
    uint32_t rate, channels;
  };
  uint64_t timecode = 0;
  for (const Part& part : {Part{44100, 2}, {44100, 1}, {48000, 2}, {8000, 6}, {96000, 8}, {48000, 2}}) {
    timecode = 10 * part.rate;
    for (int block = 0; block < 10; ++block, timecode += part.rate / 10) {
      const uint32_t count = feed(part.rate / 10, part.channels, part.rate, timecode);
      total += count;
      EXPECT_TRUE(count == 0 || out.getChannels() == 2);
    }
  }
  AudioSampleBuffer tail;
  tail.setSampleCount(0);
  EXPECT_EQ(resampler.flush(tail), 0u);
  EXPECT_EQ(total + tail.getSampleCount(), 6 * 48000u) << "a change costs no sample";
}

TEST_F(Resampler, OneBufferMayBeBothSides) {
  const auto sine = test::sweptSine(44100, 1.0, 2);
  AudioResampler other;
  AudioSampleBuffer both;
  setTarget(resampler, 96000, 2);
  setTarget(other, 96000, 2);
  for (uint32_t block = 0; block < 40; ++block) {
    // A gap each eighth block: the old converter's rest must not be written over the samples still to be
    // read.
    const uint64_t timecode = block * 1000 + block / 8 * 500;
    fillBlock(in, sine.data() + block * 2000, 1000, 2, 44100, timecode);
    fillBlock(both, sine.data() + block * 2000, 1000, 2, 44100, timecode);
    resampler.resample(in, out);
    other.resample(both, both);
    ASSERT_EQ(both.getSampleCount(), out.getSampleCount()) << block;
    ASSERT_EQ(both.getTimecode(), out.getTimecode()) << block;
    ASSERT_EQ(samplesOf(both), samplesOf(out)) << block;
  }
}

TEST_F(Resampler, LosesNothingOfABlockThatIsLargerThanItsBuffer) {
  for (const auto& [from, to, count] : {std::tuple{8000u, 192000u, 2048u}, {48000u, 48000u, 100000u}}) {
    AudioResampler large;
    setTarget(large, to, 2);
    AudioSampleBuffer tail;
    tail.setSampleCount(0);
    const std::vector<int16_t> samples(count * 2, 7000);
    fillBlock(in, samples.data(), count, 2, from, 0);
    large.resample(in, out);
    large.flush(tail);
    EXPECT_EQ(out.getSampleCount() + tail.getSampleCount(), uint64_t{count} * to / from);
    EXPECT_EQ(samplesOf(out)[out.getSampleCount()], 7000);
  }
}

TEST_F(Resampler, AppendsWhatItFlushes) {
  setTarget(resampler, 48000, 2);
  AudioSampleBuffer target;
  target.allocBuffer(5000, 2, 48000);
  feed(1000, 2, 44100, 44100);
  const uint32_t made = out.getSampleCount();
  target.setSampleCount(10);
  target.setTimecode(77);
  target.getBuffer()[0] = 9;
  resampler.flush(target);
  EXPECT_EQ(made + target.getSampleCount() - 10, 1088u);
  EXPECT_EQ(target.getTimecode(), 77u) << "that of the samples already there";
  EXPECT_EQ(target.getBuffer()[0], 9);
  EXPECT_EQ(samplesOf(target)[20], 1000);
  feed(1000, 2, 44100, 45100);
  AudioSampleBuffer small;
  small.allocBuffer(10, 2, 48000);
  resampler.flush(small);
  EXPECT_GT(small.getSampleCount(), 10u);
  EXPECT_GE(small.getLen(), small.getSampleCount() * 4);
}

TEST_F(Resampler, SourceThatCannotBeServedIsSilentAndSaysSoOnce) {
  setTarget(resampler, 48000, 2);
  for (uint64_t block = 0; block < 200; ++block) EXPECT_EQ(feed(10, 2, 1, block * 10), 0u);
  EXPECT_THAT(test::linesOf(log),
              ElementsAre(HasSubstr("source[rate/channels/mask]: 1/2/0x3"),
                          "AudioResampler.setup[{context}]: audioConverterCheckSettings failed: 4"));
  for (uint64_t block = 0; block < 300; ++block) feed(10, 2, 44100, 5000 + block * 10);
  EXPECT_EQ(feed(0, 2, 1, 0), 0u);
  EXPECT_THAT(test::linesOf(log), IsEmpty()) << "its set-up came while the warning still held the line";
  feed(10, 2, 1, 0);
  feed(10, 2, 1, 10);
  EXPECT_THAT(test::linesOf(log), ElementsAre(HasSubstr(": 1/2/0x3"), HasSubstr("failed: 4")));
}

TEST_F(Resampler, ALossInMidStreamIsToldThoughTheSetUpsLinesRest) {
  setTarget(resampler, 48000, 2);
  feed(1000, 2, 44100, 0);
  test::linesOf(log);
  for (uint64_t block = 0; block < 50; ++block) feed(10, 2, 1, 1000 + block * 10);
  EXPECT_EQ(out.getSampleCount(), 0u);
  feed(1000, 2, 44100, 5000);
  feed(10, 2, 1, 6000);
  EXPECT_THAT(test::linesOf(log),
              ElementsAre("AudioResampler.resample[{context}]: Block dropped, no converter: "
                          "source[rate/channels/samples]: 1/2/10 destination[rate/channels]: 48000/2"));
}

TEST_F(Resampler, ABlockOfAbsurdSizeIsDroppedAndTheClockGoesOn) {
  setTarget(resampler, 192000, 2);
  feed(8000, 2, 8000, 0);
  test::linesOf(log);
  feed(200000, 2, 8000, 8000);
  EXPECT_THAT(test::linesOf(log), ElementsAre(HasSubstr("Block dropped, its output is too large")));
  feed(8000, 2, 8000, 208000);  // the old converter's rest
  feed(8000, 2, 8000, 216000);
  EXPECT_EQ(out.getTimecode(), 208000u * 24);
  EXPECT_GT(out.getSampleCount(), 15900u * 24);
}

TEST_F(Resampler, DefaultMasksFollowTheChannelCount) {
  const std::pair<uint32_t, const char*> rows[] = {{1, "0x4"},  {2, "0x3"},  {3, "0x7"}, {4, "0xf"},
                                                   {5, "0x37"}, {6, "0x3f"}, {7, "0x4"}, {8, "0x4"}};
  for (const auto& [channels, mask] : rows) {
    AudioResampler each;
    each.setLogger(&log);
    setTarget(each, 48000, channels);
    const std::vector<int16_t> samples(2000 * channels, 1234);
    fillBlock(in, samples.data(), 2000, channels, 44100, 0);
    each.resample(in, out);
    EXPECT_THAT(test::linesOf(log), ElementsAre(HasSubstr(mask))) << channels;
    ASSERT_GT(out.getSampleCount(), 1000u) << channels;
    EXPECT_NEAR(samplesOf(out)[1000 * channels], 1234, 1);
  }
}

}  // namespace
}  // namespace qvs

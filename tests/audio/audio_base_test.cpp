#include <gtest/gtest.h>

#include "audio/AudioDecoderBase.h"
#include "frames/AudioSampleBuffer.h"

namespace qvs {
namespace {

/// A decoder that takes the samples as decoded and only keeps the records.
class CountingDecoder : public AudioDecoderBase {
 public:
  CountingDecoder(uint32_t rate, uint32_t channels) {
    decodedSampleRate = rate;
    decodedChannels = channels;
  }
  uint32_t decodeFirstFrame(uint8_t*, uint32_t, uint32_t) override { return 0; }
  uint32_t decodeFrame(uint8_t*, uint32_t, uint32_t len, uint64_t timecode, AudioSampleBuffer& out) override {
    finishBlock(out, len, timecode);
    return 0;
  }
};

TEST(AudioDecoderBase, BlocksStayContiguousWhileTheClockIsWithinAMillisecond) {
  CountingDecoder decoder(44100, 2);
  AudioSampleBuffer block;
  const auto timecodeAt = [&](uint64_t ms) {
    decoder.decodeFrame(nullptr, 0, 1024, ms, block);
    return block.getTimecode();
  };
  EXPECT_EQ(timecodeAt(1000), 44100u);
  EXPECT_EQ(timecodeAt(1023), 45124u) << "the running count";
  EXPECT_EQ(timecodeAt(1047), 46148u) << "a clock rounded up is no gap";
  EXPECT_EQ(timecodeAt(1200), 52920u) << "a gap: the count jumps to the clock";
  EXPECT_EQ(timecodeAt(0), 0u) << "a clock that starts again";
  EXPECT_EQ(decoder.getDecodedSampleSize(), 4096u);
  EXPECT_EQ(decoder.getFramesDecoded(), 5u);
}

TEST(AudioDecoderBase, TenHoursOfAMillisecondClockDoNotDrift) {
  CountingDecoder decoder(44100, 2);
  AudioSampleBuffer block;
  uint64_t samples = 0;
  for (; samples < 44100ull * 36000; samples += 1024) {
    decoder.decodeFrame(nullptr, 0, 1024, 5000 + (samples * 1000 + 22050) / 44100, block);
    ASSERT_EQ(block.getTimecode(), 44100ull * 5 + samples);
  }
}

TEST(AudioDecoderBase, AnUnknownRateDividesNothing) {
  CountingDecoder decoder(0, 0);
  AudioSampleBuffer block;
  for (uint64_t ms : {10u, 20u}) {
    decoder.decodeFrame(nullptr, 0, 10, ms, block);
    EXPECT_EQ(block.getTimecode(), 0u);
  }
}

}  // namespace
}  // namespace qvs

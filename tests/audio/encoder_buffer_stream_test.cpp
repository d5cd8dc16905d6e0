#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "audio/AudioEncoderBase.h"
#include "audio/AudioEncoderBufferStream.h"

namespace qvs {
namespace {

class AudioBufferStream : public testing::Test {
 protected:
  uint32_t copy(uint32_t size) {
    std::vector<uint8_t> bytes(size, 0x5A);
    return stream->copybytes(stream, bytes.data(), size);
  }
  void closeFrame() { stream->auxinfo(stream, 0, AUDIO_AU_CODE, nullptr, 0); }

  AudioEncoderBufferStream sink;
  bufstream_tt* stream = sink.getStream();
};

TEST_F(AudioBufferStream, TheNthFrameTakesTheNthTimecodeAndZeroWhereThereIsNone) {
  sink.setChannels(2);
  sink.setSampleRate(44100);
  sink.addTimecode(4711);
  for (uint32_t size : {10u, 20u}) {
    copy(size);
    closeFrame();
  }
  closeFrame();
  EXPECT_EQ(sink.getEncodedFrameCount(), 2u) << "nothing gathered makes no frame";
  std::vector<AudioFrameEncoded> frames(1);
  ASSERT_EQ(sink.getEncodedFrames(frames), 0u);
  ASSERT_EQ(frames.size(), 3u) << "behind what is there";
  EXPECT_EQ(frames[1].getTimecode(), 4711u);
  EXPECT_EQ(frames[1].getLen(), 10u);
  EXPECT_EQ(frames[1].getBuffer()[9], 0x5A);
  EXPECT_EQ(frames[2].getTimecode(), 0u);
  EXPECT_EQ(frames[2].getChannels(), 2u);
  EXPECT_EQ(frames[2].getSampleRate(), 44100u);
  EXPECT_EQ(sink.getEncodedFrameCount(), 0u);
  for (auto& frame : frames) std::free(frame.getBuffer());
}

TEST_F(AudioBufferStream, CloseForgetsFramesAndTimecodesOfTheOldRun) {
  sink.addTimecode(1);
  sink.addTimecode(2);
  copy(3);
  closeFrame();
  copy(3);
  sink.close();
  EXPECT_EQ(sink.getEncodedFrameCount(), 0u);
  sink.addTimecode(100);
  copy(4);
  closeFrame();
  std::vector<AudioFrameEncoded> frames;
  sink.getEncodedFrames(frames);
  ASSERT_EQ(frames.size(), 1u);
  EXPECT_EQ(frames[0].getTimecode(), 100u);
  EXPECT_EQ(frames[0].getLen(), 4u);
  std::free(frames[0].getBuffer());
}

TEST(CopyChannels, PutsTheChosenChannelOnBothSidesOfStereoOnly) {
  const int16_t in[] = {1, -2, 3, -4};
  const auto copied = [&](uint32_t channelCopy, uint32_t channels, uint32_t bytesPerSample) {
    std::vector<int16_t> out(4, 99);
    EXPECT_EQ(AudioEncoderBase::copyChannels(reinterpret_cast<const uint8_t*>(in),
                                             reinterpret_cast<uint8_t*>(out.data()), channelCopy, 2, channels,
                                             bytesPerSample),
              0u);
    return out;
  };
  EXPECT_EQ(copied(1, 2, 2), (std::vector<int16_t>{1, 1, 3, 3}));
  EXPECT_EQ(copied(2, 2, 2), (std::vector<int16_t>{-2, -2, -4, -4}));
  EXPECT_EQ(copied(1, 1, 2), (std::vector<int16_t>(4, 99)));
  EXPECT_EQ(copied(1, 2, 4), (std::vector<int16_t>(4, 99)));
}

}  // namespace
}  // namespace qvs

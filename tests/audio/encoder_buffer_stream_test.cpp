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

TEST_F(AudioBufferStream, TakesWhatFitsToTheByteAndNothingBeyond) {
  ASSERT_EQ(stream->chunksize(stream), 8192u);
  EXPECT_EQ(copy(8193), 0u);
  EXPECT_EQ(stream->usable_bytes(stream), 0u);
  uint8_t* place = stream->request(stream, 100000);
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(stream->confirm(stream, 92), 92u);
  EXPECT_EQ(stream->request(stream, 0), place + 92);
  EXPECT_EQ(copy(8100), 8100u);
  EXPECT_EQ(stream->chunksize(stream), 0u);
  EXPECT_EQ(stream->request(stream, 1), nullptr);
  EXPECT_EQ(copy(1), 0u);
  EXPECT_EQ(stream->usable_bytes(stream), 8192u);
  EXPECT_EQ(stream->confirm(stream, 500), 500u);
  EXPECT_EQ(stream->usable_bytes(stream), 8192u) << "a codec that confirms too much overruns nothing";
}

TEST_F(AudioBufferStream, OtherSlotsAreHarmless) {
  copy(5);
  for (uint32_t code : {0u, 0xF0001u, 0x100u, 0xFFFFFFFFu}) {
    EXPECT_EQ(stream->auxinfo(stream, 0, code, nullptr, 0), 0u);
  }
  stream->done(stream, 1);
  EXPECT_EQ(stream->split, nullptr);
  EXPECT_EQ(stream->free, nullptr);
  EXPECT_EQ(stream->drive_ptr, nullptr);
  EXPECT_EQ(stream->usable_bytes(stream), 5u);
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

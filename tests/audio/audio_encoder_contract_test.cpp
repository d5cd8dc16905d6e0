// What every audio encoder keeps to, whatever its codec.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "AudioBlocks.h"
#include "contract/StageIds.h"
#include "SampleBlocks.h"
#include "session/StageSelection.h"

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct Codec {
  uint32_t id;
  const char* className;
  size_t frame;        ///< samples
  uint32_t notOpened;  ///< answer to a block ahead of `initialize`
  bool countsFrames;   ///< its output is cut by samples, not into pages
};

class AudioEncoders : public testing::TestWithParam<Codec> {
 protected:
  AudioEncoders() {
    encoder->setLogger(&log);
    encoder->setSampleRate(48000);
    encoder->setChannels(2);
    encoder->setBitrate(128000);
  }

  void open() {
    ASSERT_EQ(encoder->initialize(), 0u);
    linesOf(log);
  }

  LogCollector log;
  std::unique_ptr<IAudioEncoder> encoder = StageSelection::audioEncoder(GetParam().id)->make();
  std::vector<AudioFrameEncoded> frames;
};

/// Those whose output doesn't follow the blocks, as pages do.
class FramedAudioEncoders : public AudioEncoders {};

TEST_P(FramedAudioEncoders, TheSameAudioInAnyBlocksIsCodedTheSame) {
  const size_t frame = GetParam().frame;
  open();
  const AudioClip clip = makeSweep(48000, 2, 20 * frame);
  const auto whole = encodeAll(*encoder, clip, {frame}, 77);
  ASSERT_GE(whole.size(), 18u);
  for (size_t i = 0; i < whole.size(); ++i) ASSERT_EQ(whole[i].timecode, 77 + i * frame);
  for (const std::vector<size_t>& sizes :
       {std::vector<size_t>{1}, {441}, {frame / 2}, {1000, 24, 4096}, {3 * frame}, {20 * frame}}) {
    open();  // a second time starts anew
    EXPECT_EQ(encodeAll(*encoder, clip, sizes, 77), whole);
  }
}

TEST_P(AudioEncoders, BlocksOfAnotherFormatAreDroppedWithOneLineAndTheNextGoodOneIsCoded) {
  open();
  const AudioClip good = makeSweep(48000, 2, 12000);
  std::vector<AudioClip> foreign{makeSweep(44100, 2, 1024)};
  if (GetParam().countsFrames) foreign.push_back(makeSweep(48000, 1, 1024));
  for (const AudioClip& clip : foreign) {
    EXPECT_EQ(encoder->addSampleBuffer(makeBlock(clip, 0, 1024, 0), frames), 0xFFFFFFFFu);
  }
  EXPECT_THAT(linesOf(log), ElementsAre(HasSubstr(std::string(GetParam().className) +
                                                  ".addSampleBuffer[{context}]: Block dropped: channels:2 "
                                                  "sampleRate:44100")));
  encoder->addSampleBuffer(makeBlock(good, 0, 12000, 9), frames);
  const auto units = takeUnits(frames);
  ASSERT_FALSE(units.empty());
  if (GetParam().countsFrames) {
    EXPECT_EQ(units[0].timecode, 9u);
  }
}

TEST_P(AudioEncoders, EmptyLyingAndEarlyBlocksAreHarmless) {
  const AudioClip clip = makeSweep(48000, 2, 12000);
  const auto add = [&](AudioSampleBuffer* block) { return encoder->addSampleBuffer(block, frames); };
  EXPECT_EQ(add(makeBlock(clip, 0, 1024, 0)), GetParam().notOpened);
  EXPECT_THAT(headersOf(*encoder), IsEmpty());
  open();
  EXPECT_EQ(add(nullptr), 0u);
  EXPECT_EQ(add(new AudioSampleBuffer), 0u) << "1024 samples told, none there";
  EXPECT_EQ(add(makeBlock(clip, 0, 0, 0)), 0u);
  EXPECT_THAT(frames, IsEmpty());
  AudioSampleBuffer* lying = makeBlock(clip, 0, 12000, 0);
  lying->setSampleCount(0xFFFFFFFFu);
  EXPECT_EQ(add(lying), 0u);
  takeUnits(frames);
  open();
  AudioSampleBuffer* started = makeBlock(clip, 0, 12000, 50);
  started->setSampleIndex(1000);
  add(started);
  const auto units = takeUnits(frames);
  ASSERT_FALSE(units.empty()) << "as many as its memory holds";
  EXPECT_GE(units[0].timecode, 1050u) << "a block counts from its sample index on";
  EXPECT_LE(units.size() * GetParam().frame, 11000u + GetParam().frame);
  EXPECT_EQ(encoder->close(), 0u);
  EXPECT_EQ(add(makeBlock(clip, 0, 1024, 0)), GetParam().notOpened) << "closed";
  EXPECT_THAT(frames, IsEmpty());
}

constexpr Codec kAac{kAudioCodecAAC, "AudioEncoderAAC", 1024, 0xFFFFFFFFu, true};
constexpr Codec kOpus{kAudioCodecOpus, "AudioEncoderOpus", 960, 0, true};
constexpr Codec kVorbis{kAudioCodecVorbis, "AudioEncoderVorbis", 64, 0xFFFFFFFFu, false};

std::string nameOf(const testing::TestParamInfo<Codec>& info) {
  return info.param.className;
}

INSTANTIATE_TEST_SUITE_P(Codecs, AudioEncoders, testing::Values(kAac, kOpus, kVorbis), nameOf);
INSTANTIATE_TEST_SUITE_P(Codecs, FramedAudioEncoders, testing::Values(kAac, kOpus), nameOf);

}  // namespace
}  // namespace qvs::test

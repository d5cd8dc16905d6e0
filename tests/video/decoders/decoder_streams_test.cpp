// The decoders with their real back ends, on small streams made here.

#include <gmock/gmock.h>

#include <cmath>

#include "contract/DecodeFlags.h"
#include "contract/StageIds.h"
#include "frames/geometry/ChromaOrder.h"
#include "session/TranscoderSession.h"
#include "video/decoders/DecoderRun.h"
#include "video/decoders/UnitStream.h"
#include "video/decoders/VideoDecoderBufferStream.h"

namespace qvs::test {
namespace {

using testing::ElementsAreArray;

constexpr uint32_t kH264 = 7;
constexpr uint32_t kAllCodecs[] = {2, 7, 9, 10, 11, 12};

CodedSetup setupOf(uint32_t codec, int frames = 10) {
  // Sizes that every one of the codecs takes.
  return {.codec = codec, .width = 176, .height = 144, .frames = frames};
}

std::vector<uint64_t> evenTimes(size_t count, uint64_t from = 1000) {
  std::vector<uint64_t> times;
  for (size_t i = 0; i < count; ++i) times.push_back(from + 40 * i);
  return times;
}

class EachCodec : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Codecs, EachCodec, testing::ValuesIn(kAllCodecs));

TEST_P(EachCodec, GivesEachPictureInTheCallThatBringsItsUnit) {
  UnitStream stream = makeUnitStream(setupOf(GetParam()));
  DecoderRun run(GetParam());
  run.harness.config(stream.config);
  for (size_t i = 0; i < stream.units.size(); ++i) {
    MediaUnit& unit = stream.units[i];
    run.harness.feed(unit.bytes, unit.timecode, unit.frameType);
    // MPEG-1/2 and MPEG-4 tell only with the next unit that no reordering is on.
    const bool mayWait = GetParam() == 11 || GetParam() == 10;
    EXPECT_EQ(run.pictures.size(), i + (mayWait && run.pictures.size() == i ? 0 : 1));
  }
  run.harness.drain();
  EXPECT_THAT(run.timecodes(), ElementsAreArray(evenTimes(stream.units.size())));
  EXPECT_EQ(run.pictures[0].width, 176u);
  EXPECT_EQ(run.pictures[0].height, 144u);
  EXPECT_EQ(run.pictures[0].frameType, 1u);
}

TEST_P(EachCodec, KeepsColorsByTheLabelOfTheTarget) {
  UnitStream stream = makeUnitStream(setupOf(GetParam(), 2));
  MediaBytes first;
  for (const uint32_t fourCC : {kFourCCYV12, kFourCCI420, kFourCCNV12}) {
    DecoderRun run(GetParam());
    MediaBytes u, v;
    DecoderHarness harness(*run.decoder, [&](VideoFrameBuffer& frame) {
      const bool paired = fourCC == kFourCCNV12;
      const ChromaOrder order = chromaOrder(fourCC);
      const uint8_t* from[] = {frame.getPlane(paired ? 1 : order.u), frame.getPlane(paired ? 1 : order.v)};
      u.push_back(from[0][0]);
      v.push_back(from[1][paired ? 1 : 0]);
    });
    harness.setFourCC(fourCC);
    harness.config(stream.config);
    harness.feed(stream.units[0].bytes, 0, 1);
    harness.feed(stream.units[1].bytes, 40, 2);
    harness.drain();
    ASSERT_FALSE(u.empty());
    EXPECT_NEAR(u[0], 90, 8) << fourCC;
    EXPECT_NEAR(v[0], 180, 8) << fourCC;
  }
}

TEST_P(EachCodec, SurvivesLossAndIsRightAgainFromTheNextKeyFrame) {
  CodedSetup setup = setupOf(GetParam(), 30);
  setup.keyInterval = 10;
  UnitStream stream = makeUnitStream(setup);
  DecoderRun whole(GetParam());
  whole.feed(stream);
  whole.harness.drain();
  DecoderRun torn(GetParam());
  torn.harness.config(stream.config);
  for (size_t i = 0; i < stream.units.size(); ++i) {
    MediaUnit unit = stream.units[i];
    if (i == 0 || i == 15) continue;                          // starts in the middle, loses one
    if (i == 17) unit.bytes.resize(unit.bytes.size() / 2);    // is cut
    if (i == 18) unit.bytes.assign(unit.bytes.size(), 0xFF);  // is rubbish
    torn.harness.feed(unit.bytes, unit.timecode, unit.frameType);
  }
  torn.harness.drain();
  const bool waits = GetParam() == 7 || GetParam() == 11 || GetParam() == 12;
  EXPECT_EQ(torn.pictures.front().timecode, 1000u + 40 * (waits ? 10 : 1));
  EXPECT_GT(torn.harness.getCounts().concealed + torn.harness.getCounts().refused, 0u);
  const auto from = [](const DecoderRun& run, uint64_t time) {
    std::vector<MediaBytes> pictures;
    for (const Picture& picture : run.pictures) {
      if (picture.timecode >= time) pictures.push_back(picture.bytes);
    }
    return pictures;
  };
  EXPECT_EQ(from(whole, 1000 + 40 * 20).size(), 10u);
  EXPECT_EQ(from(torn, 1000 + 40 * 20), from(whole, 1000 + 40 * 20));
}

TEST_P(EachCodec, FollowsASizeChangeAndTimesThatJumpBack) {
  UnitStream small = makeUnitStream(setupOf(GetParam(), 4));
  CodedSetup setup = setupOf(GetParam(), 4);
  setup.width = 352;
  setup.height = 288;
  setup.sets = true;
  UnitStream large = makeUnitStream(setup);
  DecoderRun run(GetParam());
  run.feed(small);
  // Where the header is not part of the stream it reaches a decoder inside the first unit of the new size.
  if (GetParam() == 10 || GetParam() == 11)
    large.units[0].bytes.insert(large.units[0].bytes.begin(), large.config.begin(), large.config.end());
  run.feed(large);
  run.harness.drain();
  ASSERT_EQ(run.pictures.size(), 8u);
  EXPECT_EQ(run.pictures[3].width, 176u);
  EXPECT_EQ(run.pictures[4].width, 352u);
  EXPECT_EQ(run.pictures[4].height, 288u);
  EXPECT_EQ(run.pictures[4].timecode, 1000u);
  EXPECT_NEAR(run.pictures[7].bytes[0], 40, 8);
}

TEST_P(EachCodec, WritesNoMoreThanASmallerTargetHolds) {
  UnitStream stream = makeUnitStream(setupOf(GetParam(), 2));
  auto decoder = makeDecoder(GetParam());
  VideoFrameBuffer tiny;
  tiny.allocBuffer(35, 17, kFourCCYV12);
  DecoderHarness harness(*decoder, [&](VideoFrameBuffer&) { EXPECT_EQ(decoder->getDecodedFrame(tiny), 0u); });
  harness.config(stream.config);
  for (MediaUnit& unit : stream.units) harness.feed(unit.bytes, 0, unit.frameType);
  harness.drain();
  EXPECT_EQ(harness.getCounts().pictures, 2u);
  VideoFrameBuffer packed;
  packed.allocBuffer(16, 16, kFourCCBGRA);
  EXPECT_NE(decoder->getDecodedFrame(packed), 0u);
}

TEST(DecoderStreams, PutTimesBackInOrderWhereFramesAreReordered) {
  for (const uint32_t codec : {7u, 10u, 11u, 12u}) {
    SCOPED_TRACE(codec);
    CodedSetup setup = setupOf(codec, 16);
    setup.bFrames = 2;
    UnitStream stream = makeUnitStream(setup);
    DecoderRun run(codec);
    run.feed(stream);
    EXPECT_LT(run.pictures.size(), 16u);
    run.harness.drain();
    EXPECT_THAT(run.timecodes(), ElementsAreArray(evenTimes(16)));
    // A stream that goes on after its end.
    run.feed(stream);
    run.harness.drain();
    EXPECT_EQ(run.pictures.size(), 32u);
  }
}

TEST(DecoderStreams, SetUpH263AndSorensonWithoutConfiguration) {
  for (const uint32_t codec : {2u, 9u}) {
    SCOPED_TRACE(codec);
    UnitStream stream = makeUnitStream(setupOf(codec, 3));
    const MediaBytes& first = stream.units[0].bytes;
    const MediaBytes rubbish(40, 0x55);
    const struct {
      const char* what;
      const MediaBytes* record;
      uint32_t result;
      uint32_t width;
    } setUps[] = {{"none", nullptr, 0, 0},
                  {"empty", &stream.config, 0, 0},
                  {"first picture", &first, 0, 176},
                  {"rubbish", &rubbish, static_cast<uint32_t>(-2), 0}};
    for (const auto& setUp : setUps) {
      SCOPED_TRACE(setUp.what);
      DecoderRun run(codec);
      if (setUp.record != nullptr) run.harness.config(*setUp.record);
      EXPECT_EQ(run.harness.getConfigResult(), setUp.result);
      EXPECT_EQ(run.decoder->getFrameWidth(), setUp.width);
      // Behind a refused header the units come without a type, which would announce them.
      for (MediaUnit& unit : stream.units)
        run.harness.feed(unit.bytes, unit.timecode, setUp.result == 0 ? unit.frameType : 0);
      run.harness.drain();
      EXPECT_EQ(run.pictures.size(), 3u);
    }
  }
}

TEST(DecoderStreams, TellSizeAndRateWithTheConfiguration) {
  for (const uint32_t codec : {7u, 10u, 11u}) {
    SCOPED_TRACE(codec);
    UnitStream stream = makeUnitStream(setupOf(codec, 2));
    DecoderRun run(codec);
    run.harness.config(stream.config);
    EXPECT_EQ(run.harness.getConfigResult(), 0u);
    EXPECT_EQ(run.decoder->getFrameWidth(), 176u);
    EXPECT_EQ(run.decoder->getFrameHeight(), 144u);
    EXPECT_EQ(run.decoder->getDisplayWidth(), 176u);
    EXPECT_EQ(run.decoder->getDisplayHeight(), 144u);
    EXPECT_DOUBLE_EQ(run.decoder->getFrameRate(), 25.0);
    // The pictures then tell nothing new.
    for (MediaUnit& unit : stream.units)
      EXPECT_EQ(run.harness.feed(unit.bytes, 0, 1) & DecodeFlagInfoUpdated, 0u);
    if (codec == 7) continue;  // its record has a form of its own
    DecoderRun other(codec);
    other.harness.config(MediaBytes(20, 0x11));
    EXPECT_EQ(other.harness.getConfigResult(), static_cast<uint32_t>(-2));
  }
}

TEST(DecoderStreams, ReportRefusedUnitsWithoutAPicture) {
  for (const uint32_t codec : {7u, 12u}) {
    SCOPED_TRACE(codec);
    UnitStream stream = makeUnitStream(setupOf(codec, 2));
    DecoderRun run(codec);  // no parameter sets ever come
    const uint32_t status = run.harness.feed(stream.units[1].bytes, 0, 2);
    EXPECT_EQ(status,
              DecodeFlagInputDone | DecodeFlagPictureDone | DecodeFlagFrameNotReady | DecodeFlagFrameError);
    EXPECT_EQ(run.pictures.size(), 0u);
    EXPECT_EQ(run.harness.getCounts().refused, 1u);
  }
}

/// How much rows differ from the ones above, less how much they differ from the ones two above: combs.
double combing(const Picture& picture) {
  double combs = 0;
  for (size_t y = 2; y + 1 < picture.height; ++y) {
    for (size_t x = 0; x < picture.width; ++x) {
      const uint8_t* at = picture.bytes.data() + y * picture.width + x;
      const int neighbours = (at[-static_cast<ptrdiff_t>(picture.width)] + at[picture.width]) / 2;
      combs += std::max(0, std::abs(*at - neighbours) - 20);
    }
  }
  return combs / (picture.width * picture.height);
}

TEST(DecoderStreams, DeinterlaceInterlacedPicturesAlone) {
  for (const uint32_t codec : {7u, 11u}) {
    SCOPED_TRACE(codec);
    CodedSetup setup = setupOf(codec, 8);
    setup.interlaced = true;
    UnitStream stream = makeUnitStream(setup);
    DecoderRun woven(codec, 0), single(codec, 1);
    woven.feed(stream);
    single.feed(stream);
    ASSERT_GE(woven.pictures.size(), 7u);
    ASSERT_EQ(single.pictures.size(), woven.pictures.size());
    EXPECT_EQ(woven.pictures[4].flags, 2u);
    EXPECT_EQ(single.pictures[4].flags, 0u);
    for (size_t i = 0; i < woven.pictures.size(); ++i)
      EXPECT_LT(combing(single.pictures[i]), combing(woven.pictures[i]) / 5) << i;
    EXPECT_EQ(single.pictures[4].timecode, woven.pictures[4].timecode);

    setup.interlaced = false;
    UnitStream whole = makeUnitStream(setup);
    DecoderRun plain(codec, 0), asked(codec, 1);
    plain.feed(whole);
    asked.feed(whole);
    for (size_t i = 0; i < plain.pictures.size(); ++i)
      EXPECT_EQ(asked.pictures[i].bytes, plain.pictures[i].bytes);
  }
}

/// Column where the bright block begins in a row.
uint32_t blockAt(const Picture& picture, size_t row) {
  uint32_t x = 0;
  while (x < picture.width && picture.bytes[row * picture.width + x] < 170) ++x;
  return x;
}

TEST(DecoderStreams, DoubleRateGivesEachFieldHalfAFrameApart) {
  for (const uint32_t codec : {7u, 11u}) {
    SCOPED_TRACE(codec);
    CodedSetup setup = setupOf(codec, 6);
    setup.interlaced = true;
    UnitStream stream = makeUnitStream(setup);
    DecoderRun run(codec, 1);
    run.decoder->setParameterValue(1, int64_t{1});
    VideoFrameBuffer second;
    DecoderHarness harness(*run.decoder, [&](VideoFrameBuffer& frame) {
      run.keep(frame);
      second.allocBuffer(frame.getWidth(), frame.getHeight(), kFourCCYV12);
      EXPECT_EQ(run.decoder->getDecodedFrame(second), 0u);
      run.keep(second);
    });
    harness.config(stream.config);
    for (MediaUnit& unit : stream.units) harness.feed(unit.bytes, unit.timecode, unit.frameType);
    ASSERT_GE(run.pictures.size(), 10u);
    for (size_t i = 0; i < 9; ++i) {
      EXPECT_EQ(run.pictures[i].timecode, 1000 + 20 * i);
      EXPECT_EQ(run.pictures[i].flags, 0u);
      // The block moves 4 pixels from field to field.
      EXPECT_NEAR(blockAt(run.pictures[i], 70), 4.0 * static_cast<double>(i), 2.0) << i;
      EXPECT_NEAR(blockAt(run.pictures[i], 71), 4.0 * static_cast<double>(i), 2.0) << i;
    }
  }
}

/// The pictures of an MPEG-2 stream that a session is given `queued` units at a time between decode steps.
std::vector<MediaBytes> decodeQueued(const UnitStream& stream, size_t queued) {
  TranscoderSession session;
  EXPECT_EQ(session.videoDecoderCreate(0, kVideoCodecMPEG2, 0, 8, 0, kFourCCYV12), 0u);
  EXPECT_EQ(session.videoDecoderSetParameterValueLong(0, 0), 0u);
  EXPECT_EQ(session.videoDecoderInitialize(), 0u);
  EXPECT_EQ(session.videoDecoderBuffersCreate(1), 0u);
  std::vector<MediaBytes> pictures;
  for (size_t i = 0; i < stream.units.size(); ++i) {
    const MediaUnit& unit = stream.units[i];
    EXPECT_EQ(session.videoDecoderAddFrame(CodedBlock::copyOf(unit.bytes), unit.timecode, unit.frameType),
              0u);
    if ((i + 1) % queued != 0) continue;
    uint32_t status = 0;
    while ((status & DecodeFlagInputDone) == 0) {
      uint64_t timecode = 0;
      std::vector<VideoFrameAncillaryData> ancillary;
      TranscoderVideoDecoderFrameInfo info;
      status = 0;
      EXPECT_EQ(session.videoDecoderDecode(0, &status, &timecode, ancillary, info), 0u);
      if (info.frameCount != 0) pictures.push_back(i420Bytes(*session.getVideoDecoderBuffer(0)));
    }
  }
  return pictures;
}

TEST(DecoderStreams, Mpeg2UnitsMayQueueInASession) {
  CodedSetup setup = setupOf(kVideoCodecMPEG2, 12);
  setup.bFrames = 1;
  const UnitStream stream = makeUnitStream(setup);
  const auto oneByOne = decodeQueued(stream, 1);
  EXPECT_GE(oneByOne.size(), 10u);
  EXPECT_EQ(decodeQueued(stream, 3), oneByOne);
}

}  // namespace
}  // namespace qvs::test

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frames/VideoFrameBuffer.h"
#include "session/notify/TranscoderSessionNotifyManager.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {
namespace {

using test::CodedStream;
using test::EncodedUnit;
using test::makeStream;
using test::paintTestPicture;
using test::psnrOfPlane;
using test::SessionDriver;
using testing::Contains;
using testing::HasSubstr;

constexpr uint32_t kFail = 0xFFFFFFFFu;

/// Decodes a rendition's units and compares colours with the test pictures of their numbers.
void expectColours(uint32_t codecVersion, const std::vector<EncodedUnit>& units, double least) {
  SessionDriver check({.codecVersion = codecVersion});
  for (uint32_t number = 0; number < units.size(); ++number) {
    ASSERT_TRUE(check.decode(units[number].bytes, units[number].timecode));
    for (char plane : {'Y', 'U', 'V'}) {
      EXPECT_GT(psnrOfPlane(*check.decodedFrame(), plane, number), least) << plane << " of " << number;
    }
  }
}

TEST(SessionVideo, MakesALadderWithRightColoursAndTimecodes) {
  const CodedStream stream = makeStream(8, 320, 240, 8);
  SessionDriver ladder({.rungs = {{.width = 320, .height = 240},
                                  {.width = 160, .height = 120, .codecVersion = 9},
                                  {.width = 240, .height = 180, .fourcc = kFourCCI420}}});
  for (const auto& packet : stream.packets)
    ASSERT_TRUE(ladder.feed(packet.bytes, packet.timecode, 0).picture);
  EXPECT_EQ(ladder.frameInfo().frameCount, 8u);
  for (size_t rendition = 0; rendition < 3; ++rendition) {
    const auto& units = ladder.units(rendition);
    ASSERT_EQ(units.size(), 8u);
    for (size_t number = 0; number < units.size(); ++number) {
      EXPECT_EQ(units[number].timecode, stream.packets[number].timecode);
      EXPECT_EQ(units[number].frameType, number == 0 ? 1u : 2u);
    }
    expectColours(rendition == 1 ? 9 : 8, units, 28);
  }
}

TEST(SessionVideo, MakesKeyFramesOnRequestAndFromTheInput) {
  const CodedStream stream = makeStream(8, 64, 64, 6);
  SessionDriver ladder({.rungs = {{.width = 64, .height = 64}}});
  for (uint32_t number = 0; number < 6; ++number) {
    const uint32_t inputType = number == 2 ? 1 : 2;
    ASSERT_TRUE(ladder.decode(stream.packets[number].bytes, number, inputType));
    ladder.encode(number == 4 ? 1 : 0);
  }
  std::vector<uint32_t> types;
  for (const EncodedUnit& unit : ladder.units(0)) types.push_back(unit.frameType);
  EXPECT_THAT(types, testing::ElementsAre(1, 2, 1, 2, 1, 2));
}

TEST(SessionVideo, RunsRungsSideBySideWithTheSamePackets) {
  const CodedStream stream = makeStream(8, 320, 240, 10);
  const auto run = [&](bool asynchronous) {
    SessionDriver ladder(
        {.rungs = {{.width = 320, .height = 240, .asynchronous = asynchronous},
                   {.width = 161, .height = 121, .asynchronous = asynchronous},
                   {.width = 80, .height = 60, .codecVersion = 9, .asynchronous = asynchronous}}});
    std::vector<std::vector<uint8_t>> all;
    for (const auto& packet : stream.packets) ladder.feed(packet.bytes, packet.timecode, 0);
    for (size_t rendition = 0; rendition < 3; ++rendition) {
      for (const EncodedUnit& unit : ladder.units(rendition)) all.push_back(unit.bytes);
    }
    return all;
  };
  const auto plain = run(false);
  EXPECT_EQ(plain.size(), 30u);
  EXPECT_EQ(run(true), plain);
}

TEST(SessionVideo, EndsAndResetsWithFramesInWork) {
  const CodedStream stream = makeStream(8, 320, 240, 1);
  for (bool reset : {false, true}) {
    SessionDriver ladder({.rungs = {{.width = 320,
                                     .height = 240,
                                     .asynchronous = true,
                                     .parameters = {{VideoEncoderVPX::kKeyCpuUsed, 0}}}}});
    TranscoderSession& session = ladder.session();
    ASSERT_TRUE(ladder.decode(stream.packets[0].bytes, 0));
    uint32_t target = 0;
    session.videoEncoderBufferAllocate(0, &target);
    session.videoEncoderAddFrame(0, target, 0, 1, 0);
    session.videoEncoderBufferRelease(0, target);
    if (reset) {
      // A new size takes the storage that the encoder reads.
      EXPECT_EQ(session.videoEncoderBufferAdd(640, 480, 3, kFourCCYV12, 0, 0), 0u);
      EXPECT_EQ(session.resetPipeline(), 0u);
      EXPECT_EQ(session.getVideoDecoder(), nullptr);
      EXPECT_EQ(session.getVideoEncoderBufferSetCount(), 0u);
    }
  }
}

TEST(SessionVideo, FollowsSizeChanges) {
  SessionDriver ladder({.rungs = {{.width = 160, .height = 120}}});
  ladder.session().videoDecoderSetFrameSizeLimits(8192, 4320, 32, 32);
  uint64_t timecode = 0;
  for (const auto& [width, height] :
       {std::pair{160u, 120u}, {640u, 360u}, {64u, 48u}, {175u, 143u}, {1u, 1u}, {16u, 8u}, {320u, 240u}}) {
    const CodedStream stream = makeStream(8, width, height, 2);
    for (const auto& packet : stream.packets) {
      ASSERT_TRUE(ladder.decode(packet.bytes, timecode += 40));
      EXPECT_EQ(ladder.frameInfo().frameWidth, width);
      if (width >= 32 && height >= 32) {
        ladder.encode();
      } else {
        EXPECT_EQ(ladder.session().videoDecoderTransferFrameStart(ladder.decodedFrameIndex(), {}), kFail);
      }
    }
  }
  EXPECT_EQ(ladder.units(0).size(), 10u);
  const auto lines = ladder.takeLog();
  EXPECT_THAT(lines,
              Contains("TranscoderSession.videoDecoderDecode[{context}]: Decoder frame size: frame:640x360 "
                       "display:640x360 bufferSize:345600"));
  const auto outOfRange = [](const std::string& line) {
    return line.find("out of range") != std::string::npos;
  };
  EXPECT_EQ(std::count_if(lines.begin(), lines.end(), outOfRange), 1);
}

TEST(SessionVideo, ReportsOneLineForARunOfBadSizes) {
  const CodedStream stream = makeStream(8, 64, 48, 1);
  SessionDriver ladder({});
  TranscoderSession& session = ladder.session();
  ladder.decode(stream.packets[0].bytes, 0);
  const uint32_t index = ladder.decodedFrameIndex();
  ladder.takeLog();
  session.videoDecoderSetFrameSizeLimits(0, 0, 65, 0);
  EXPECT_EQ(session.videoDecoderTransferFrameStart(index, {}), kFail);
  EXPECT_EQ(session.videoDecoderTransferFrameStart(index, {}), kFail);
  EXPECT_THAT(ladder.takeLog(),
              testing::ElementsAre(
                  "TranscoderSession::videoDecoderTransferFrame[{context}]: Decoded frame size is out "
                  "of range frame:64x48 max:0x0 min:65x0"));
  session.videoDecoderSetFrameSizeLimits(0, 0, 0, 0);
  EXPECT_EQ(session.videoDecoderTransferFrameStart(index, {}), 0u);
  for (const auto& limits : {std::array{63u, 0u, 0u, 0u}, {0u, 47u, 0u, 0u}, {0u, 0u, 0u, 49u}}) {
    session.videoDecoderSetFrameSizeLimits(limits[0], limits[1], limits[2], limits[3]);
    EXPECT_EQ(session.videoDecoderTransferFrameStart(index, {}), kFail);
  }
  EXPECT_EQ(ladder.takeLog().size(), 1u);
  session.videoDecoderSetFrameSizeLimits(64, 48, 64, 48);
  EXPECT_EQ(session.videoDecoderTransferFrameStart(index, {}), 0u);
}

TEST(SessionVideo, HandsOutEachFrameOnceAndTakesItBackAtTheLastRelease) {
  SessionDriver ladder({.rungs = {{.width = 64, .height = 64}}});
  TranscoderSession& session = ladder.session();
  uint32_t first = 9, second = 9, third = 9;
  EXPECT_EQ(session.videoDecoderBufferAllocate(&first), 0u);
  EXPECT_EQ(session.videoDecoderBufferAllocate(&second), 0u);
  EXPECT_NE(first, second);
  EXPECT_EQ(session.videoDecoderBufferAllocate(&third), kFail);
  EXPECT_EQ(third, 9u);
  session.videoDecoderBufferAcquire(first);
  session.videoDecoderBufferRelease(first);
  EXPECT_EQ(session.videoDecoderBufferAllocate(&third), kFail);
  session.videoDecoderBufferRelease(first);
  EXPECT_EQ(session.videoDecoderBufferRelease(first), 0u);
  EXPECT_EQ(session.videoDecoderBufferAllocate(&third), 0u);
  EXPECT_EQ(third, first);
}

TEST(SessionVideo, AdvancesTheDecoderEvenWithoutAnEntry) {
  const CodedStream stream = makeStream(8, 64, 64, 2);
  SessionDriver ladder({});
  TranscoderSession& session = ladder.session();
  uint32_t status = 0;
  uint64_t timecode = 5;
  std::vector<VideoFrameAncillaryData> ancillary;
  TranscoderVideoDecoderFrameInfo info;
  session.videoDecoderAddFrame(CodedBlock::copyOf(stream.packets[0].bytes), 0, 1);
  EXPECT_EQ(session.videoDecoderDecode(99, &status, &timecode, ancillary, info), kFail);
  EXPECT_EQ(status, 7u);
  EXPECT_EQ(timecode, 5u);
  EXPECT_EQ(info.frameCount, 0u);
  EXPECT_TRUE(ladder.decode(stream.packets[1].bytes, 40));  // it has seen the key frame
}

TEST(SessionVideo, KeepsGoingAfterBadPackets) {
  const CodedStream stream = makeStream(8, 160, 120, 4);
  const CodedStream other = makeStream(9, 160, 120, 1);
  SessionDriver ladder({.rungs = {{.width = 160, .height = 120}}});
  ASSERT_TRUE(ladder.feed(stream.packets[0].bytes, 0, 0).picture);
  ladder.decode({}, 0);
  ladder.decode(other.packets[0].bytes, 0);
  ladder.decode(std::span(stream.packets[1].bytes).first(9), 0);
  ladder.decode(std::vector<uint8_t>(4000, 0xFF), 0);
  ASSERT_TRUE(ladder.decode(stream.packets[0].bytes, 400));
  EXPECT_GT(psnrOfPlane(*ladder.decodedFrame(), 'U', 0), 34);
  EXPECT_GT(psnrOfPlane(*ladder.decodedFrame(), 'V', 0), 34);
}

TEST(SessionVideo, WiresThePoolWithTheFirstConfigurationOnly) {
  SessionDriver ladder({.rungs = {{.width = 64, .height = 64, .frameRate = 25}}});
  TranscoderSession& session = ladder.session();
  session.videoEncoderSetFrameRate(0, 50);
  EXPECT_EQ(session.videoDecoderDecodeCodecConfig(nullptr, 0, 0), 0u);
  int64_t denominator = 0;
  session.videoEncoderGetParameterValueLong(0, 100008, &denominator);
  EXPECT_EQ(denominator, 50);  // a stream without a rate, and a second configuration, leave the encoder alone
}

TEST(SessionVideo, PassesParametersThrough) {
  SessionDriver ladder({.rungs = {{.width = 64, .height = 64}}});
  TranscoderSession& session = ladder.session();
  uint32_t length = 5;
  int64_t values[2] = {1, 2};
  double reals[2] = {1, 2};
  EXPECT_EQ(session.videoDecoderGetParameterValueType(1, &length), 1u);
  EXPECT_EQ(length, 0u);
  session.videoDecoderSetParameterValueLong(1, 3);
  session.videoDecoderGetParameterValueLong(1, &values[0]);
  EXPECT_EQ(values[0], 3);
  EXPECT_EQ(session.videoEncoderGetParameterValueType(0, 100034, nullptr), 1u);
  EXPECT_EQ(session.videoEncoderGetParameterValueType(0, 10003, nullptr), 0u);
  // Forms that no key has are taken and dropped; a get yields nothing.
  session.videoEncoderSetParameterValueLongArray(0, 100034, values, 2);
  session.videoEncoderSetParameterValueDouble(0, 100034, 1.5);
  session.videoDecoderSetParameterValueDoubleArray(0, reals, 2);
  length = 2;
  EXPECT_EQ(session.videoEncoderGetParameterValueLongArray(0, 100034, values, &length), 0u);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(session.videoDecoderGetParameterValueDouble(0, reals), 0u);
  EXPECT_EQ(reals[0], 0);
}

/// Paints what it sees, as a listener module may.
class Painter : public ITranscoderSessionNotifyVideoFrameDecode,
                public ITranscoderSessionNotifyVideoFrameEncode {
 public:
  uint32_t lockVideo() override { return 0; }
  uint32_t unlockVideo() override { return 0; }
  uint32_t onVideoDecodeBeforeOverlay(int64_t, IVideoDecoder* decoder, VideoFrameBuffer* frame) override {
    seen += decoder != nullptr ? "d" : "-";
    paintTestPicture(*frame, 20);
    return 0;
  }
  uint32_t onVideoDecodeAfterOverlay(int64_t, IVideoDecoder*, VideoFrameBuffer*) override {
    seen += "D";
    return 0;
  }
  uint32_t onVideoEncodeBeforeOverlay(int64_t, IVideoEncoder*, VideoFrameBuffer* source,
                                      VideoFrameBuffer* target) override {
    seen += source != nullptr && target != nullptr ? "e" : "-";
    return 0;
  }
  uint32_t onVideoEncodeAfterOverlay(int64_t, IVideoEncoder*, VideoFrameBuffer*, VideoFrameBuffer*) override {
    seen += "E";
    return 0;
  }
  std::string seen;
};

TEST(SessionVideo, LetsListenersTouchThePicture) {
  const CodedStream stream = makeStream(8, 64, 64, 1);
  SessionDriver ladder({.rungs = {{.width = 64, .height = 64}, {.width = 32, .height = 32}}});
  Painter painter;
  const int64_t id = ladder.session().getSessionId();
  TranscoderSessionNotifyManager& manager = *TranscoderSessionNotifyManager::getInstance();
  manager.addVideoFrameDecodeListener(id, &painter);
  manager.addVideoFrameEncodeListener(id, &painter);
  ladder.feed(stream.packets[0].bytes, 0, 0);
  manager.notifySessionListenersDestroy(id);
  EXPECT_EQ(painter.seen, "dDeEeE");
  SessionDriver check({});
  check.decode(ladder.units(0).at(0).bytes, 0);
  EXPECT_GT(psnrOfPlane(*check.decodedFrame(), 'Y', 20), 28);
}

TEST(SessionVideo, DropsLinesBeyondItsLimitAndStartsAnewAfterAFetch) {
  SessionDriver ladder({});
  ladder.takeLog();
  for (int i = 0; i < 1100; ++i) ladder.session().videoScalerSetSource(1, 2, 3);
  EXPECT_EQ(ladder.takeLog().size(), 1000u);
  ladder.session().videoScalerSetSource(1, 2, 3);
  EXPECT_EQ(ladder.takeLog().size(), 1u);
}

}  // namespace
}  // namespace qvs

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "contract/DecodeFlags.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogCollector.h"
#include "support/EncodedUnit.h"
#include "support/TestPicture.h"
#include "video/decoders/VideoDecoderMP4.h"
#include "video/encoders/VideoEncoderH263IPP.h"

namespace qvs {
namespace {

using test::EncodedUnit;
using testing::HasSubstr;

struct Wanted {
  uint32_t width = 176, height = 144;
  std::vector<std::pair<uint32_t, int64_t>> keys = {};
  bool follow = false;
  uint32_t bitrate = 600000;
};

class H263 : public testing::Test {
 protected:
  std::vector<EncodedUnit> encode(const Wanted& setup, uint32_t frames) {
    VideoEncoderH263IPP encoder;
    encoder.setLogger(&log);
    encoder.setDefaults(0, 0);
    EXPECT_EQ(encoder.setFrameSize(setup.width, setup.height), 0u);
    encoder.setFrameRate(25);
    encoder.setBitrate(setup.bitrate);
    if (setup.follow) encoder.setKeyFrameFollow(0);
    for (const auto& [key, value] : setup.keys) encoder.setParameterValue(key, value);
    EXPECT_EQ(encoder.initialize(), 0u);
    VideoFrameBuffer frame;
    frame.allocBuffer(setup.width, setup.height, kFourCCYV12);
    for (uint32_t time = 0; time < frames; ++time) {
      test::paintTestPicture(frame, time);
      EXPECT_EQ(encoder.addFrame(frame, time % 7 == 3 ? 1 : 2, 1000 + 40 * time), 0u);
    }
    std::vector<VideoFrameEncoded> coded;
    encoder.getEncodedFrames(coded);
    return test::takeUnits(coded);
  }

  /// Decodes in the product's own decoder; the worst plane of any picture, in dB.
  double worstPlane(const Wanted& setup, std::vector<EncodedUnit>& units) {
    VideoDecoderMP4 decoder;
    decoder.setCodecAndVersion(9, 0);
    decoder.setFourcc(kFourCCYV12);
    decoder.createDone();
    decoder.initialize();
    double worst = 100;
    uint32_t shown = 0;
    const auto take = [&](uint8_t flush) {
      uint32_t flags = 0;
      decoder.decode(&flags, flush);
      if ((flags & DecodeFlagFrameAvailable) == 0) return false;
      VideoFrameBuffer frame;
      frame.allocBuffer(setup.width, setup.height, kFourCCYV12);
      EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);
      EXPECT_EQ(frame.getTimecode(), 1000 + 40 * shown);
      for (const char plane : {'Y', 'U', 'V'})
        worst = std::min(worst, test::psnrOfPlane(frame, plane, shown));
      ++shown;
      return true;
    };
    for (EncodedUnit& unit : units) {
      decoder.addFrame(unit.bytes.data(), 0, static_cast<uint32_t>(unit.bytes.size()), unit.timecode,
                       unit.frameType);
      take(0);
    }
    while (take(1)) {
    }
    EXPECT_EQ(shown, units.size());
    return worst;
  }

  std::string logText() {
    std::vector<LogStatement> lines;
    log.getLogStatements(lines);
    std::string text;
    for (const LogStatement& line : lines) text += line.str + "\n";
    return text;
  }

  static std::vector<uint64_t> keysOf(const std::vector<EncodedUnit>& units) {
    std::vector<uint64_t> keys;
    for (const EncodedUnit& unit : units) {
      if (unit.frameType == 1) keys.push_back((unit.timecode - 1000) / 40);
    }
    return keys;
  }

  LogCollector log;
};

TEST_F(H263, RefusesSizesItHasNoCodeFor) {
  VideoEncoderH263IPP encoder;
  encoder.setLogger(&log);
  EXPECT_EQ(encoder.setFrameSize(322, 240), kFailure);
  EXPECT_EQ(encoder.setFrameSize(8192, 240), kFailure);
  EXPECT_EQ(encoder.setFrameSize(320, 240), 0u);
  const std::string text = logText();
  EXPECT_THAT(
      text, HasSubstr("setFrameSize[{context}]: Frame width and height must be evenly divisible by 4: 322"));
  EXPECT_THAT(text,
              HasSubstr("setFrameSize[{context}]: Frame width and height must be less than 8192: 8192"));
  encoder.setDefaults(0, 0);
  EXPECT_EQ(encoder.initialize(), kFailure) << "the size is gone";
  EXPECT_THAT(logText(), HasSubstr("initialize[{context}]: CODEC initialization failed: "));
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  EXPECT_EQ(encoder.addFrame(frame, 1, 0), kFailure);
}

TEST_F(H263, DecodesWithTimesAndKeysAsAskedFor) {
  const Wanted follows{176, 144, {{60003, 132}}, true};
  std::vector<EncodedUnit> units = encode(follows, 12);
  EXPECT_EQ(keysOf(units), (std::vector<uint64_t>{0, 3, 10}));
  EXPECT_GT(worstPlane(follows, units), 30.0);
  const Wanted plain{128, 96, {{60003, 5}}};
  units = encode(plain, 12);
  EXPECT_EQ(keysOf(units), (std::vector<uint64_t>{0, 5, 10})) << "by the distance alone";
  EXPECT_GT(worstPlane(plain, units), 30.0);
}

TEST_F(H263, TakesOtherSizesAndModesAsTheLaterEdition) {
  for (const uint32_t key : {60009u, 60010u, 60012u, 60013u, 60019u, 60011u}) {
    const Wanted setup{key == 60019 ? 176u : 164u, key == 60019 ? 144u : 124u, {{key, 1}}};
    std::vector<EncodedUnit> units = encode(setup, 6);
    ASSERT_EQ(units.size(), 6u) << key;
    EXPECT_GT(worstPlane(setup, units), 28.0) << key;
  }
  EXPECT_THAT(logText(), HasSubstr("mean PSNR of luma"));
}

TEST_F(H263, SteersItsRate) {
  const auto bytesOf = [&](const Wanted& setup) {
    size_t sum = 0;
    for (const EncodedUnit& unit : encode(setup, 25)) sum += unit.bytes.size();
    return sum;
  };
  const size_t low = bytesOf({352, 288, {}, false, 100000}), high = bytesOf({352, 288, {}, false, 1000000});
  EXPECT_GT(high, low * 3 / 2);
  EXPECT_EQ(bytesOf({352, 288, {{60016, 1000000}}, false, 100000}), high) << "the key's rate counts";
  const size_t fine = bytesOf({176, 144, {{60015, 0}, {60000, 3}, {60001, 3}}});
  EXPECT_GT(fine, 2 * bytesOf({176, 144, {{60015, 0}, {60000, 20}, {60001, 20}}})) << "a constant quantizer";
  encode({176, 144, {{60002, 5}, {60004, 3}, {60014, 1}, {60020, 12}}}, 1);
  EXPECT_THAT(logText(), HasSubstr("these settings do nothing here: quantBPic, PPicdist, modQuant, PAR"));
}

}  // namespace
}  // namespace qvs

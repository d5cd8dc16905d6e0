#include <gtest/gtest.h>
#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>

#include <cmath>
#include <limits>

#include "contract/DecodeFlags.h"
#include "contract/StageIds.h"
#include "EncoderUnderTest.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "support/TestPicture.h"
#include "video/decoders/VideoDecoderVPX.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {
namespace {

using test::EncodedUnit;
using test::paintTestPicture;
using test::psnrOfPlane;

/// An encoder as a session sets it up, up to `initialize`.
struct VpxUnderTest : test::EncoderUnderTest<VideoEncoderVPX> {
  VpxUnderTest(uint32_t codecVersion, uint32_t width, uint32_t height) {
    encoder.setCodecAndVersion(kVideoCodecVPX, codecVersion);
    encoder.setDefaults(0, 0);
    encoder.setFrameSize(width, height);
    encoder.setFrameRate(25);
    encoder.setBitrate(4000000);
    encoder.setKeyFrameFollow(1);
    set(VideoEncoderVPX::kKeyThreadCount, 1);
  }
};

int64_t value(VideoEncoderVPX& encoder, uint32_t key) {
  int64_t number = -1;
  encoder.getParameterValue(key, &number);
  return number;
}

std::pair<int, int> timebaseFor(double frameRate) {
  VideoEncoderVPX encoder;
  encoder.setFrameRate(frameRate);
  const vpx_rational_t& timebase = encoder.getVPXConfig().g_timebase;
  return {timebase.num, timebase.den};
}

TEST(VideoEncoderVPX, WritesTheSimplestPeriod) {
  EXPECT_EQ(timebaseFor(30.0), std::make_pair(1, 30));
  EXPECT_EQ(timebaseFor(29.97), std::make_pair(1001, 30000));
  EXPECT_EQ(timebaseFor(30000.0 / 1001), std::make_pair(1001, 30000));
  EXPECT_EQ(timebaseFor(23.976), std::make_pair(1001, 24000));
  EXPECT_EQ(timebaseFor(59.94), std::make_pair(1001, 60000));
  EXPECT_EQ(timebaseFor(12.5), std::make_pair(10000, 125000));
  EXPECT_EQ(timebaseFor(0.5), std::make_pair(10000, 5000));
}

TEST(VideoEncoderVPX, KeepsItsPeriodWhenARateCanNotBe) {
  const double rates[] = {0.0, -25.0, 1e-5, 1e12, std::nan(""), std::numeric_limits<double>::infinity()};
  for (double rate : rates) {
    VideoEncoderVPX encoder;
    encoder.setFrameRate(25);
    EXPECT_EQ(encoder.setFrameRate(rate), 0xFFFFFFFFu) << rate;
    EXPECT_EQ(encoder.getVPXConfig().g_timebase.den, 25) << rate;
  }
}

TEST(VideoEncoderVPX, MapsItsSetters) {
  VpxUnderTest t(8, 320, 240);
  const vpx_codec_enc_cfg_t& config = t.encoder.getVPXConfig();
  EXPECT_EQ(config.rc_target_bitrate, 4000u);
  EXPECT_EQ(config.rc_end_usage, VPX_CBR);
  EXPECT_EQ(config.g_lag_in_frames, 0u);
  EXPECT_EQ(config.kf_mode, VPX_KF_DISABLED);
  EXPECT_EQ(config.kf_max_dist, 0u);
  t.encoder.setBitrate(999);
  EXPECT_EQ(config.rc_target_bitrate, 0u);
  EXPECT_EQ(t.encoder.updateBitrate(5000000), 0u);
  EXPECT_EQ(config.rc_target_bitrate, 0u);
}

TEST(VideoEncoderVPX, KeysReachTheirFields) {
  VideoEncoderVPX encoder;
  for (uint32_t key = 100000; key <= 100034; ++key) encoder.setParameterValue(key, int64_t{key} - 99990);
  const vpx_codec_enc_cfg_t& config = encoder.getVPXConfig();
  EXPECT_EQ(config.g_usage, 10u);
  EXPECT_EQ(config.g_timebase.num, 17);
  EXPECT_EQ(config.g_timebase.den, 18);
  EXPECT_EQ(config.rc_dropframe_thresh, 22u);
  EXPECT_EQ(config.rc_target_bitrate, 29u);
  EXPECT_EQ(config.rc_buf_optimal_sz, 36u);
  EXPECT_EQ(config.kf_max_dist, 42u);
}

TEST(VideoEncoderVPX, TellsTheSpeedInForce) {
  for (const auto& [version, speed] : {std::pair{8u, 16}, {9u, 8}, {7u, 0}}) {
    VideoEncoderVPX encoder;
    encoder.setCodecVersion(version);
    EXPECT_EQ(value(encoder, 100033), speed) << version;
    encoder.setParameterValue(100033, int64_t{-5});
    EXPECT_EQ(value(encoder, 100033), -5);
  }
}

TEST(VideoEncoderVPX, TakesSixteenThreadsUnlessToldOtherwise) {
  VpxUnderTest plain(8, 64, 64);
  plain.set(VideoEncoderVPX::kKeyThreadCount, 0);
  plain.set(100001, 3);
  EXPECT_EQ(value(plain.encoder, 100001), 3);
  ASSERT_EQ(plain.encoder.initialize(), 0u);
  EXPECT_EQ(value(plain.encoder, 100001), 16);

  VpxUnderTest told(8, 64, 64);
  told.set(VideoEncoderVPX::kKeyThreadCount, 2);
  ASSERT_EQ(told.encoder.initialize(), 0u);
  EXPECT_EQ(value(told.encoder, 100001), 2);
}

/// Decodes units and compares each with the test picture of its number.
void expectPictures(uint32_t codecVersion, const std::vector<EncodedUnit>& units, uint32_t width,
                    uint32_t height, double least) {
  VideoDecoderVPX decoder;
  decoder.setCodecAndVersion(8, codecVersion);
  ASSERT_EQ(decoder.initialize(), 0u);
  VideoFrameBuffer frame;
  for (uint32_t number = 0; number < units.size(); ++number) {
    auto bytes = units[number].bytes;
    uint32_t flags = 0;
    decoder.addFrame(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), 0, 0);
    decoder.decode(&flags);
    ASSERT_TRUE(flags & DecodeFlagFrameAvailable);
    frame.allocBuffer(width, height, kFourCCYV12);
    decoder.getDecodedFrame(frame);
    for (char plane : {'Y', 'U', 'V'}) {
      EXPECT_GT(psnrOfPlane(frame, plane, number), least) << plane << " of " << number;
    }
  }
}

/// What libvpx reads of the colors of a stream's first picture.
std::pair<vpx_color_space_t, vpx_color_range_t> colorsOf(uint32_t codecVersion, int64_t space,
                                                         int64_t range) {
  VpxUnderTest t(codecVersion, 64, 64);
  t.encoder.setParameterValue(VideoEncoderVPX::kKeyColorSpace, space);
  t.encoder.setParameterValue(VideoEncoderVPX::kKeyColorRange, range);
  EXPECT_EQ(t.encoder.initialize(), 0u);
  const bool impossible = codecVersion == 9 && (space > VPX_CS_BT_2020 || range > VPX_CR_FULL_RANGE);
  EXPECT_EQ(t.logLines().size(), impossible ? 1u : 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  paintTestPicture(frame, 0);
  t.encoder.addFrame(frame, 0, 0);
  const std::vector<EncodedUnit> units = t.take();
  vpx_codec_ctx_t decoder{};
  vpx_codec_dec_init(&decoder, codecVersion == 9 ? vpx_codec_vp9_dx() : vpx_codec_vp8_dx(), nullptr, 0);
  for (const EncodedUnit& unit : units)
    vpx_codec_decode(&decoder, unit.bytes.data(), static_cast<unsigned>(unit.bytes.size()), nullptr, 0);
  vpx_codec_iter_t iterator = nullptr;
  const vpx_image_t* image = vpx_codec_get_frame(&decoder, &iterator);
  EXPECT_NE(image, nullptr);
  const std::pair colors{image ? image->cs : VPX_CS_RESERVED, image ? image->range : VPX_CR_STUDIO_RANGE};
  vpx_codec_destroy(&decoder);
  return colors;
}

TEST(VideoEncoderVPX, TellsColorsInVP9AlonePossibleOnesOnly) {
  EXPECT_EQ(colorsOf(9, 0, 0), std::make_pair(VPX_CS_UNKNOWN, VPX_CR_STUDIO_RANGE));
  EXPECT_EQ(colorsOf(9, VPX_CS_BT_709, 0), std::make_pair(VPX_CS_BT_709, VPX_CR_STUDIO_RANGE));
  EXPECT_EQ(colorsOf(9, VPX_CS_BT_2020, 1), std::make_pair(VPX_CS_BT_2020, VPX_CR_FULL_RANGE));
  for (int64_t impossible : {int64_t{VPX_CS_SRGB}, int64_t{6}, int64_t{1} << 31})
    EXPECT_EQ(colorsOf(9, impossible, 1), std::make_pair(VPX_CS_UNKNOWN, VPX_CR_STUDIO_RANGE));
  EXPECT_EQ(colorsOf(8, VPX_CS_BT_709, 1), std::make_pair(VPX_CS_UNKNOWN, VPX_CR_STUDIO_RANGE));
}

struct PictureCase {
  uint32_t codecVersion, width, height, fourcc;
};

class VideoEncoderVPXPictures : public testing::TestWithParam<PictureCase> {};

TEST_P(VideoEncoderVPXPictures, EncodesRightColors) {
  const PictureCase c = GetParam();
  VpxUnderTest t(c.codecVersion, c.width, c.height);
  ASSERT_EQ(t.encoder.initialize(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(c.width, c.height, c.fourcc);
  for (uint32_t number = 0; number < 4; ++number) {
    paintTestPicture(frame, number);
    ASSERT_EQ(t.encoder.addFrame(frame, 0, number), 0u);
  }
  const std::vector<EncodedUnit> units = t.take();
  ASSERT_EQ(units.size(), 4u);
  expectPictures(c.codecVersion, units, c.width, c.height, 30);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, VideoEncoderVPXPictures,
    testing::Values(PictureCase{8, 176, 144, kFourCCYV12}, PictureCase{8, 176, 144, kFourCCI420},
                    PictureCase{8, 175, 143, kFourCCYV12}, PictureCase{9, 176, 144, kFourCCYV12},
                    PictureCase{9, 175, 143, kFourCCI420}, PictureCase{8, 65, 48, kFourCCYV12},
                    PictureCase{9, 64, 48, kFourCCIYUV}, PictureCase{9, 64, 49, kFourCCYV12}));

TEST(VideoEncoderVPX, EncodesTheTiniestPictures) {
  for (const auto& [width, height] : {std::pair{1u, 1u}, {2u, 1u}, {1u, 2u}, {3u, 3u}}) {
    VpxUnderTest t(8, width, height);
    ASSERT_EQ(t.encoder.initialize(), 0u);
    VideoFrameBuffer frame;
    frame.allocBuffer(width, height, kFourCCYV12);
    EXPECT_EQ(t.encoder.addFrame(frame, 0, 0), 0u);
    EXPECT_EQ(t.take().size(), 1u) << width << "x" << height;
  }
}

TEST(VideoEncoderVPX, CarriesTimecodesAndKeyFrameRequests) {
  VpxUnderTest t(8, 64, 64);
  t.encoder.initialize();
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  std::vector<uint32_t> types;
  for (uint32_t number = 0; number < 300; ++number) {
    paintTestPicture(frame, number);
    frame.setFrameType(number == 5 ? 1 : 2);
    t.encoder.addFrame(frame, number == 3 ? 1 : number == 7 ? 2 : 0, number * 33);
    EXPECT_EQ(t.encoder.getEncodedFrameCount(), 1u);
    for (const EncodedUnit& unit : t.take()) {
      EXPECT_EQ(unit.timecode, number * 33u);
      types.push_back(unit.frameType);
    }
  }
  ASSERT_EQ(types.size(), 300u);
  for (uint32_t number = 0; number < types.size(); ++number) {
    const bool key = number == 0 || number == 3 || number == 5;
    EXPECT_EQ(types[number], key ? 1u : 2u) << number;
  }
}

TEST(VideoEncoderVPX, SurvivesHostileSettings) {
  for (uint32_t key = 100000; key <= 100034; ++key) {
    for (int64_t number :
         {int64_t{-1}, int64_t{0}, int64_t{1}, int64_t{1000000}, std::numeric_limits<int64_t>::max()}) {
      if (key == 100003 || key == 100004) continue;  // a size of millions of pixels is served, slowly
      VpxUnderTest t(8, 32, 32);
      t.encoder.setParameterValue(key, number);
      if (t.encoder.initialize() != 0) continue;
      VideoFrameBuffer frame;
      frame.allocBuffer(32, 32, kFourCCYV12);
      for (uint64_t timecode = 0; timecode < 3; ++timecode) t.encoder.addFrame(frame, 1, timecode);
      t.take();
    }
  }
}

}  // namespace
}  // namespace qvs

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include <x264.h>

#include <algorithm>
#include <numeric>

#include "H264EncoderUnderTest.h"

namespace qvs {
namespace {

using test::EncodedUnit;
using test::H264EncoderUnderTest;
using test::H264Picture;
using test::nalTypes;
using test::paintTestPicture;
using test::play;
using test::psnr;
using testing::ElementsAre;

constexpr uint32_t kReorderingDelay = 10003;
constexpr uint64_t kWallClockMs = 1764000000000;
constexpr int kSlice = 1, kIdr = 5, kSps = 7, kPps = 8, kDelimiter = 9;

/// Lowest PSNR of any plane against the test picture, cut to the picture's size.
double worstPlane(const H264Picture& picture, uint32_t width, uint32_t height, uint32_t number) {
  double worst = 99;
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t step = plane == 0 ? 1 : 2;
    std::vector<uint8_t> wanted;
    for (uint32_t y = 0; y < picture.height / step; ++y) {
      for (uint32_t x = 0; x < picture.width / step; ++x) {
        const test::TestPixel pixel = test::testPixel(x * step, y * step, width, height, number);
        wanted.push_back(plane == 0 ? pixel.y : plane == 1 ? pixel.u : pixel.v);
      }
    }
    worst = std::min(worst, psnr(picture.planes[plane], wanted));
  }
  return worst;
}

size_t bytesOf(const std::vector<EncodedUnit>& units, size_t from, size_t count) {
  return std::accumulate(units.begin() + static_cast<std::ptrdiff_t>(from),
                         units.begin() + static_cast<std::ptrdiff_t>(from + count), size_t{0},
                         [](size_t sum, const EncodedUnit& unit) { return sum + unit.bytes.size(); });
}

struct PictureCase {
  uint32_t width, height, format;
};

class VideoEncoderH264Pictures : public testing::TestWithParam<PictureCase> {};

TEST_P(VideoEncoderH264Pictures, PlayWithRightColors) {
  const PictureCase c = GetParam();
  H264EncoderUnderTest t(c.width, c.height);
  VideoFrameBuffer frame;
  frame.allocBuffer(c.width, c.height, c.format);
  ASSERT_EQ(t.start(), 0u);
  const std::vector<H264Picture> pictures = play(t.encode(frame, 5));
  ASSERT_EQ(pictures.size(), 5u);
  for (uint32_t number = 0; number < pictures.size(); ++number) {
    EXPECT_EQ(pictures[number].width, c.width & ~1u);
    EXPECT_EQ(pictures[number].height, c.height & ~1u);
    EXPECT_GT(worstPlane(pictures[number], c.width, c.height, number), 30) << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, VideoEncoderH264Pictures,
                         testing::Values(PictureCase{176, 144, kFourCCYV12},
                                         PictureCase{176, 144, kFourCCI420},
                                         PictureCase{250, 130, kFourCCYV12},
                                         PictureCase{175, 143, kFourCCYV12},
                                         PictureCase{64, 49, kFourCCI420}));

TEST(VideoEncoderH264, GivesEachFrameBackInTheSameCall) {
  H264EncoderUnderTest t(176, 144);
  ASSERT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(176, 144, kFourCCYV12);
  for (uint32_t number = 0; number < 30; ++number) {
    paintTestPicture(frame, number);
    frame.setFrameType(number == 11 ? 1 : 2);
    ASSERT_EQ(t.encoder.addFrame(frame, number == 7 ? 1 : 0, 1000 + number * 33), 0u);
    EXPECT_EQ(t.encoder.getEncodedFrameCount(), 1u);
    const std::vector<EncodedUnit> units = t.take();
    ASSERT_EQ(units.size(), 1u);
    EXPECT_EQ(units[0].timecode, 1000u + number * 33);
    EXPECT_EQ(units[0].offset, 0);
    const bool key = number == 0 || number == 7 || number == 11;
    EXPECT_EQ(units[0].frameType, key ? 1u : 2u) << number;
    std::vector<int> types = nalTypes(units[0].bytes);
    std::erase(types, 6);  // messages
    if (key) {
      EXPECT_THAT(types, ElementsAre(kDelimiter, kSps, kPps, kIdr)) << number;
    } else {
      EXPECT_THAT(types, ElementsAre(kDelimiter, kSlice)) << number;
    }
  }
}

TEST(VideoEncoderH264, TakesKeyFrameRequestsForOrdinaryFramesWhenToldSo) {
  H264EncoderUnderTest t(64, 64);
  t.set(VideoEncoderH264::kKeyForceIdr, 0);
  ASSERT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  frame.setFrameType(1);
  for (uint32_t number = 0; number < 6; ++number) {
    paintTestPicture(frame, number);
    t.encoder.addFrame(frame, 1, number * 40);
  }
  std::vector<uint32_t> types;
  for (const EncodedUnit& unit : t.take()) types.push_back(unit.frameType);
  EXPECT_THAT(types, ElementsAre(1, 2, 2, 2, 2, 2));
}

TEST(VideoEncoderH264, SpacesIdrPicturesWhenAnIntervalIsSet) {
  H264EncoderUnderTest t(64, 64);
  t.set(10002, 5);
  ASSERT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  const std::vector<EncodedUnit> units = t.encode(frame, 16);
  for (size_t number = 0; number < units.size(); ++number) {
    EXPECT_EQ(units[number].frameType, number % 5 == 0 ? 1u : 2u) << number;
  }
}

/// B pictures: reordering delay, pyramid, first timecode.
struct ReorderCase {
  int64_t delay, pyramid;
  uint64_t start;
};

class VideoEncoderH264Reordering : public testing::TestWithParam<ReorderCase> {};

TEST_P(VideoEncoderH264Reordering, KeepsTimesRight) {
  const ReorderCase c = GetParam();
  H264EncoderUnderTest t(176, 144);
  t.set(kReorderingDelay, c.delay);
  t.set(10066, c.pyramid);
  ASSERT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(176, 144, kFourCCYV12);
  const std::vector<EncodedUnit> units = t.encode(frame, 23, c.start);
  ASSERT_EQ(units.size(), 23u);
  size_t bidirectional = 0;
  for (size_t i = 0; i < units.size(); ++i) {
    EXPECT_GE(units[i].offset, 0) << i;
    if (i > 0) {
      EXPECT_GT(units[i].timecode, units[i - 1].timecode) << i;
    }
    bidirectional += units[i].frameType == 3;
  }
  EXPECT_GE(bidirectional, 10u);
  const std::vector<H264Picture> pictures = play(units);
  ASSERT_EQ(pictures.size(), 23u);
  for (uint32_t number = 0; number < pictures.size(); ++number) {
    EXPECT_EQ(pictures[number].time, static_cast<int64_t>(c.start + number * 40)) << number;
    EXPECT_GT(worstPlane(pictures[number], 176, 144, number), 30) << number;
  }
}

INSTANTIATE_TEST_SUITE_P(Streams, VideoEncoderH264Reordering,
                         testing::Values(ReorderCase{2, 0, 0}, ReorderCase{3, 0, 0}, ReorderCase{4, 1, 0},
                                         ReorderCase{3, 0, 100000}, ReorderCase{4, 1, 100000},
                                         ReorderCase{3, 0, 30}, ReorderCase{4, 1, kWallClockMs}));

/// A picture that changes everywhere: its bits follow the rate alone.
void paintNoise(VideoFrameBuffer& frame, uint32_t number) {
  uint32_t state = number * 2654435761u + 1;
  for (uint32_t plane = 0; plane < 3; ++plane) {
    const uint32_t step = plane == 0 ? 1 : 2;
    for (uint32_t y = 0; y < frame.getHeight() / step; ++y) {
      for (uint32_t x = 0; x < frame.getWidth() / step; ++x) {
        state = state * 1664525 + 1013904223;
        const uint32_t wave = (x + number * 3) / 5 * 31 + y / 7 * 17;
        frame.getPlane(plane)[y * static_cast<uint32_t>(frame.getStride(plane)) + x] =
            static_cast<uint8_t>(96 + wave % 64 + (state >> 28));
      }
    }
  }
}

TEST(VideoEncoderH264, FollowsABitRateChangeWithinASecondWithoutAKeyFrame) {
  constexpr uint32_t kRate = 25;
  for (const auto& [before, after] : {std::pair{600000u, 1800000u}, {1800000u, 600000u}}) {
    H264EncoderUnderTest t(320, 240, before);
    ASSERT_EQ(t.start(), 0u);
    VideoFrameBuffer frame;
    frame.allocBuffer(320, 240, kFourCCYV12);
    std::vector<EncodedUnit> units;
    for (uint32_t number = 0; number < 9 * kRate; ++number) {
      if (number == 6 * kRate) {
        EXPECT_EQ(t.encoder.updateBitrate(after), 0u);
      }
      paintNoise(frame, number);
      t.encoder.addFrame(frame, 0, number * 1000 / kRate);
    }
    units = t.take();
    ASSERT_EQ(units.size(), 9u * kRate);
    EXPECT_EQ(t.get(VideoEncoderH264::kKeyBitRate), after);
    EXPECT_EQ(t.get(VideoEncoderH264::kKeyMaxBitRate), after * 110 / 100);
    EXPECT_EQ(t.get(VideoEncoderH264::kKeyBitRateBufferSize), after * 110 / 100 * 2);
    const auto bitsPerSecond = [&](uint32_t second) {
      return static_cast<double>(bytesOf(units, second * kRate, kRate)) * 8;
    };
    EXPECT_NEAR(bitsPerSecond(5) / before, 1, 0.2);
    EXPECT_NEAR(bitsPerSecond(6) / after, 1, 0.35) << before;
    EXPECT_NEAR(bitsPerSecond(7) / after, 1, 0.15) << before;
    EXPECT_NEAR(bitsPerSecond(8) / after, 1, 0.1) << before;
    for (size_t i = 1; i < units.size(); ++i) EXPECT_EQ(units[i].frameType, 2u) << i;
  }
}

TEST(VideoEncoderH264, HoldsTheRateWhenFramesComeAtAnotherPaceThanTold) {
  constexpr uint32_t kBitrate = 1000000;
  for (const auto& [told, start] :
       {std::pair{1000.0, uint64_t{0}}, {60.0, kWallClockMs}, {12.0, 0}, {25.0, 0}}) {
    H264EncoderUnderTest t(320, 240, kBitrate);
    t.encoder.setFrameRate(told);
    ASSERT_EQ(t.start(), 0u);
    VideoFrameBuffer frame;
    frame.allocBuffer(320, 240, kFourCCYV12);
    for (uint32_t number = 0; number < 200; ++number) {
      paintNoise(frame, number);
      t.encoder.addFrame(frame, 0, start + number * 40);
    }
    const std::vector<EncodedUnit> units = t.take();
    ASSERT_EQ(units.size(), 200u);
    EXPECT_NEAR(static_cast<double>(bytesOf(units, 100, 100)) * 8 / 4 / kBitrate, 1, 0.2) << told;
  }
}

/// What libx264 gives for the test picture when called directly, as its command line would at "--preset
/// veryfast --tune zerolatency" with a constant rate, in units of lengths.
std::vector<std::vector<uint8_t>> encodeDirectly(VideoFrameBuffer& frame, uint32_t count, int kilobits) {
  x264_param_t parameters;
  x264_param_default_preset(&parameters, "veryfast", "zerolatency");
  parameters.i_threads = 1;
  parameters.i_width = static_cast<int>(frame.getWidth());
  parameters.i_height = static_cast<int>(frame.getHeight());
  parameters.i_fps_num = 25;
  parameters.i_fps_den = 1;
  parameters.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  parameters.i_keyint_min = 1;
  parameters.i_scenecut_threshold = 0;
  parameters.rc.i_rc_method = X264_RC_ABR;
  parameters.rc.i_bitrate = parameters.rc.i_vbv_max_bitrate = kilobits;
  parameters.rc.i_vbv_buffer_size = kilobits * 220 / 100;
  parameters.b_aud = 1;
  parameters.b_repeat_headers = 1;
  parameters.b_annexb = 0;
  parameters.i_log_level = X264_LOG_NONE;
  x264_t* encoder = x264_encoder_open(&parameters);
  std::vector<std::vector<uint8_t>> units;
  for (uint32_t number = 0; number < count; ++number) {
    paintTestPicture(frame, number);
    x264_picture_t picture, coded;
    x264_picture_init(&picture);
    picture.img.i_csp = X264_CSP_I420;
    picture.img.i_plane = 3;
    for (uint32_t plane = 0; plane < 3; ++plane) {
      picture.img.plane[plane] = frame.getPlane(plane);
      picture.img.i_stride[plane] = frame.getStride(plane);
    }
    picture.i_pts = number;
    x264_nal_t* nals = nullptr;
    int nalCount = 0;
    const int size = x264_encoder_encode(encoder, &nals, &nalCount, &picture, &coded);
    units.emplace_back(nals[0].p_payload, nals[0].p_payload + size);
  }
  x264_encoder_close(encoder);
  return units;
}

TEST(VideoEncoderH264, GivesWhatTheCodecGivesWhenCalledDirectly) {
  VideoFrameBuffer frame;
  frame.allocBuffer(320, 240, kFourCCI420);
  const std::vector<std::vector<uint8_t>> direct = encodeDirectly(frame, 60, 700);
  H264EncoderUnderTest t(320, 240, 700000);
  ASSERT_EQ(t.start(), 0u);
  const std::vector<EncodedUnit> units = t.encode(frame, 60);
  ASSERT_EQ(units.size(), direct.size());
  for (size_t number = 0; number < units.size(); ++number) {
    EXPECT_TRUE(units[number].bytes == direct[number]) << number;
  }
}

TEST(VideoEncoderH264, SizesTheStreamForTheFrame) {
  H264EncoderUnderTest small(640, 360);
  ASSERT_EQ(small.start(), 0u);
  EXPECT_EQ(small.encoder.getStreamBufferSize(), 345856u);
  H264EncoderUnderTest large(1920, 1080);
  ASSERT_EQ(large.start(), 0u);
  EXPECT_EQ(large.encoder.getStreamBufferSize(), 3110656u);
}

TEST(VideoEncoderH264, StartsAfreshWhenInitializedAgain) {
  H264EncoderUnderTest t(64, 64);
  ASSERT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  EXPECT_EQ(t.encode(frame, 2).size(), 2u);
  EXPECT_EQ(t.encoder.addFrame(frame, 0, 0), 0xFFFFFFFFu);  // flushed
  ASSERT_EQ(t.encoder.initialize(), 0u);
  const std::vector<EncodedUnit> units = t.encode(frame, 2, 400);
  ASSERT_EQ(units.size(), 2u);
  EXPECT_EQ(units[0].frameType, 1u);
  EXPECT_EQ(units[1].timecode, 440u);
}

}  // namespace
}  // namespace qvs

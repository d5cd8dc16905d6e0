#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vpx/vp8cx.h>
#include <vpx/vpx_encoder.h>

#include <cstdio>
#include <random>

#include "contract/DecodeFlags.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogCollector.h"
#include "support/DecodedPicture.h"
#include "support/TestPicture.h"
#include "video/decoders/VideoDecoderVPX.h"
#include "video/decoders/VPXUtils.h"

namespace qvs {
namespace {

using test::CodedStream;
using test::makeStream;
using test::psnrOfPlane;

class VideoDecoderVPXTest : public testing::Test {
 protected:
  void open(uint32_t codecVersion) {
    decoder.setLogger(&log);
    decoder.setCodecAndVersion(8, codecVersion);
    ASSERT_EQ(decoder.initialize(), 0u);
  }

  uint32_t decode(std::vector<uint8_t> bytes, uint64_t timecode = 0, uint32_t frameType = 0) {
    current = std::move(bytes);
    decoder.addFrame(current.data(), 0, static_cast<uint32_t>(current.size()), timecode, frameType);
    uint32_t flags = 0xFF;
    EXPECT_EQ(decoder.decode(&flags), 0u);
    return flags;
  }

  std::vector<std::string> logLines() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> lines;
    for (const LogStatement& statement : statements) lines.push_back(statement.str);
    return lines;
  }

  LogCollector log;
  VideoDecoderVPX decoder;
  std::vector<uint8_t> current;
};

constexpr uint32_t kPicture = DecodeFlagInputDone | DecodeFlagPictureDone | DecodeFlagFrameAvailable;

TEST_F(VideoDecoderVPXTest, ReportsInputDoneBeforeInitializeAndAfterClose) {
  const CodedStream stream = makeStream(8, 64, 48, 1);
  EXPECT_EQ(decode(stream.packets[0].bytes), DecodeFlagInputDone);
  open(8);
  EXPECT_EQ(decode(stream.packets[0].bytes), kPicture);
  EXPECT_EQ(decoder.close(), 0u);
  EXPECT_EQ(decoder.close(), 0u);
  EXPECT_EQ(decode(stream.packets[0].bytes), DecodeFlagInputDone);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 48, kFourCCYV12, 1);
  EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);  // the picture went with the codec
  uint32_t size[4] = {7, 7, 7, 7};
  decoder.getDecodedFrameSize(&size[0], &size[1], &size[2], &size[3]);
  EXPECT_EQ(size[0], 7u);
}

TEST_F(VideoDecoderVPXTest, DecodesOnlyTheUnitAddedLast) {
  const CodedStream stream = makeStream(8, 64, 48, 2);
  open(8);
  EXPECT_NE(decoder.isFrameDone(), 0);
  auto first = stream.packets[1].bytes;
  decoder.addFrame(first.data(), 0, static_cast<uint32_t>(first.size()), 1, 2);
  EXPECT_EQ(decoder.isFrameDone(), 0);
  EXPECT_EQ(decode(stream.packets[0].bytes, 77, 1), kPicture);
  EXPECT_NE(decoder.isFrameDone(), 0);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 48, kFourCCYV12);
  decoder.getDecodedFrame(frame);
  EXPECT_EQ(frame.getTimecode(), 77u);
  EXPECT_EQ(frame.getFrameType(), 1u);
  EXPECT_EQ(frame.getDisplayWidth(), 64);
  EXPECT_EQ(frame.getDisplayHeight(), 48);
  EXPECT_TRUE(frame.isLocationSystemMemory());
  EXPECT_EQ(decoder.getFrameRate(), 0.0);
}

TEST_F(VideoDecoderVPXTest, PutsColoursWhereTheLabelWantsThem) {
  for (uint32_t codecVersion : {8u, 9u}) {
    const CodedStream stream = makeStream(codecVersion, 176, 144, 3);
    open(codecVersion);
    for (uint32_t number = 0; number < 3; ++number) {
      ASSERT_EQ(decode(stream.packets[number].bytes), kPicture);
      VideoFrameBuffer yv12, i420, nv12;
      std::vector<std::vector<uint8_t>> pictures;
      for (auto [frame, code] : {std::pair{&yv12, kFourCCYV12}, {&i420, kFourCCI420}}) {
        frame->allocBuffer(176, 144, code);
        decoder.getDecodedFrame(*frame);
        for (char plane : {'Y', 'U', 'V'}) EXPECT_GT(psnrOfPlane(*frame, plane, number), 34) << plane;
        pictures.push_back(test::i420Bytes(*frame));
      }
      EXPECT_EQ(pictures[0], pictures[1]);
      nv12.allocBuffer(176, 144, kFourCCNV12);
      decoder.getDecodedFrame(nv12);
      const size_t luma = 176 * 144;
      for (size_t i = 0; i < luma / 4; ++i) {
        ASSERT_EQ(nv12.getPlane(1)[2 * i], pictures[0][luma + i]);
        ASSERT_EQ(nv12.getPlane(1)[2 * i + 1], pictures[0][luma + luma / 4 + i]);
      }
    }
  }
}

TEST_F(VideoDecoderVPXTest, RoundsChromaDownAtOddSizes) {
  for (const auto& [width, height] :
       {std::pair{175u, 143u}, {65u, 48u}, {64u, 49u}, {1u, 1u}, {3u, 1u}, {16u, 8u}}) {
    const CodedStream stream = makeStream(8, width, height, 1);
    open(8);
    ASSERT_EQ(decode(stream.packets[0].bytes), kPicture);
    VideoFrameBuffer frame;
    frame.allocBuffer(width, height, kFourCCYV12);
    EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);
    EXPECT_GT(psnrOfPlane(frame, 'Y', 0), 28) << width << "x" << height;
    if (width > 16 && height > 16) {
      EXPECT_GT(psnrOfPlane(frame, 'V', 0), 30) << width << "x" << height;
    }
  }
}

TEST_F(VideoDecoderVPXTest, NeverOverrunsATargetOfAnotherSize) {
  const CodedStream stream = makeStream(8, 176, 144, 1);
  open(8);
  for (const auto& [width, height] :
       {std::pair{16u, 16u}, {176u, 16u}, {16u, 144u}, {400u, 300u}, {177u, 145u}}) {
    ASSERT_EQ(decode(stream.packets[0].bytes), kPicture);
    VideoFrameBuffer frame;
    frame.allocBuffer(width, height, kFourCCYV12, 1);
    EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);
    EXPECT_NEAR(frame.getPlane(0)[0], test::testPixel(0, 0, 176, 144, 0).y, 12);
    if (height == 300) {
      EXPECT_EQ(frame.getPlane(0)[200 * 400], 0);
    }
  }
  VideoFrameBuffer none;
  EXPECT_EQ(decoder.getDecodedFrame(none), 0u);
}

TEST_F(VideoDecoderVPXTest, SurvivesDamageAndGoesOn) {
  std::mt19937 random(5);
  for (uint32_t codecVersion : {8u, 9u}) {
    const CodedStream stream = makeStream(codecVersion, 96, 80, 6);
    open(codecVersion);
    VideoFrameBuffer frame;
    frame.allocBuffer(96, 80, kFourCCYV12);
    for (int round = 0; round < 200; ++round) {
      std::vector<uint8_t> bytes = stream.packets[random() % 6].bytes;
      bytes.resize(random() % (bytes.size() + 1));
      for (int flips = 0; flips < 4 && !bytes.empty(); ++flips)
        bytes[random() % bytes.size()] ^= 1 << random() % 8;
      uint32_t size[4] = {};
      decode(bytes);
      decoder.getDecodedFrameSize(&size[0], &size[1], &size[2], &size[3]);
      decoder.getDecodedFrame(frame);  // also where there is no picture
    }
    ASSERT_EQ(decode(stream.packets[0].bytes), kPicture);
    decoder.getDecodedFrame(frame);
    EXPECT_GT(psnrOfPlane(frame, 'Y', 0), 34);
  }
}

TEST_F(VideoDecoderVPXTest, FollowsASizeChange) {
  open(8);
  uint32_t width = 0, height = 0, displayWidth = 0, displayHeight = 0;
  for (const auto& [w, h] : {std::pair{64u, 48u}, {176u, 144u}, {33u, 17u}}) {
    ASSERT_EQ(decode(makeStream(8, w, h, 1).packets[0].bytes), kPicture);
    decoder.getDecodedFrameSize(&width, &height, &displayWidth, &displayHeight);
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(w, h));
    EXPECT_EQ(std::make_pair(displayWidth, displayHeight), std::make_pair(w, h));
  }
}

/// One VP9 picture in 4:4:4, which the decoder gives but frames can't take.
std::vector<uint8_t> picture444() {
  vpx_codec_enc_cfg_t config{};
  vpx_codec_enc_config_default(vpx_codec_vp9_cx(), &config, 0);
  config.g_w = config.g_h = 64;
  config.g_profile = 1;
  config.g_lag_in_frames = 0;
  vpx_codec_ctx_t context{};
  vpx_codec_enc_init(&context, vpx_codec_vp9_cx(), &config, 0);
  vpx_image_t* image = vpx_img_alloc(nullptr, VPX_IMG_FMT_I444, 64, 64, 16);
  for (unsigned char* plane : {image->planes[0], image->planes[1], image->planes[2]})
    std::fill_n(plane, 64 * 64, 99);
  vpx_codec_encode(&context, image, 0, 1, 0, VPX_DL_REALTIME);
  vpx_codec_iter_t iterator = nullptr;
  const vpx_codec_cx_pkt_t* packet = vpx_codec_get_cx_data(&context, &iterator);
  const auto* bytes = static_cast<const uint8_t*>(packet->data.frame.buf);
  std::vector<uint8_t> coded(bytes, bytes + packet->data.frame.sz);
  vpx_img_free(image);
  vpx_codec_destroy(&context);
  return coded;
}

TEST_F(VideoDecoderVPXTest, WarnsOnceOfAPictureThatFramesCanNotTake) {
  open(9);
  logLines();
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12, 1);
  const std::vector<uint8_t> coded = picture444();
  for (uint64_t timecode : {40, 80}) {
    ASSERT_EQ(decode(coded, timecode), kPicture);
    EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);
    EXPECT_EQ(frame.getTimecode(), timecode);
    EXPECT_EQ(frame.getPlane(0)[0], 0);
  }
  EXPECT_THAT(
      logLines(),
      testing::ElementsAre("VideoDecoderVPX.getDecodedFrame[{context}]: Image format is not supported: 262"));
}

TEST_F(VideoDecoderVPXTest, KeepsItsTwoKeys) {
  uint32_t length = 9;
  EXPECT_EQ(decoder.getParameterValueType(0, &length), kParameterLong);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(decoder.getParameterValueType(1, nullptr), kParameterLong);
  EXPECT_EQ(decoder.getParameterValueType(2, nullptr), kParameterUnknown);
  decoder.setParameterValue(0, int64_t{4});
  decoder.setParameterValue(1, int64_t{5});
  decoder.setParameterValue(2, int64_t{6});
  int64_t number = -1;
  decoder.getParameterValue(0, &number);
  EXPECT_EQ(number, 4);
  EXPECT_EQ(decoder.getDeinterlaceDoubleRate(), 5u);
  decoder.getParameterValue(2, &number);
  EXPECT_EQ(number, 0);
}

/// The base alone: what a decoder without a loop of its own answers.
class BareDecoder : public VideoDecoderBase {
 public:
  uint32_t initialize() override { return 0; }
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t close() override { return 0; }
  uint32_t decodeCodecConfig(uint8_t*, uint32_t, uint32_t) override { return 0; }
  uint32_t getDecodedFrame(VideoFrameBuffer&) override { return 0; }
  uint32_t getDecodedFrameSize(uint32_t*, uint32_t*, uint32_t*, uint32_t*) override { return 0; }
  uint32_t addFrame(uint8_t*, uint32_t, uint32_t, uint64_t, uint32_t) override { return 0; }
  uint8_t isFrameDone() override { return 1; }
};

TEST(VideoDecoderBase, MakesNoProgressByItself) {
  BareDecoder decoder;
  uint32_t flags = 0x55;
  EXPECT_EQ(decoder.decode(&flags), 1u);
  EXPECT_EQ(static_cast<IVideoDecoder&>(decoder).decode(&flags, 1), 1u);
  EXPECT_EQ(flags, 0x55u);
  EXPECT_EQ(decoder.getCodec(), 0xFFFFFFFFu);
  EXPECT_EQ(decoder.getDeinterlace(), 1u);
}

TEST(VPXUtils, WritesIvfHeaders) {
  vpx_codec_enc_cfg_t config{};
  config.g_w = 0x1234;
  config.g_h = 0x0102;
  config.g_timebase = {1001, 30000};
  std::FILE* file = std::tmpfile();
  testing::internal::CaptureStdout();
  VPXUtils::write_ivf_file_header(file, &config, 5);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "write_ivf_file_header: 4660:258:5\n");
  VPXUtils::write_ivf_frame_header(file, 0x01020304ul, 0x1122334455667788ul);
  vpx_codec_cx_pkt_t packet{};
  packet.kind = VPX_CODEC_STATS_PKT;
  VPXUtils::write_ivf_frame_header(file, &packet);
  EXPECT_EQ(std::ftell(file), 44);
  std::rewind(file);
  std::vector<uint8_t> bytes(44);
  ASSERT_EQ(std::fread(bytes.data(), 1, 44, file), 44u);
  std::fclose(file);
  const std::vector<uint8_t> want = {'D', 'K',  'I',  'F',  0,    0,    32,   0,    'V',  'P',  '8',
                                     '0', 0x34, 0x12, 0x02, 0x01, 0x30, 0x75, 0,    0,    0xE9, 3,
                                     0,   0,    5,    0,    0,    0,    0,    0,    0,    0,    4,
                                     3,   2,    1,    0x88, 0x77, 0x66, 0x55, 0x44, 0x33, 0x22, 0x11};
  EXPECT_EQ(bytes, want);
}

}  // namespace
}  // namespace qvs

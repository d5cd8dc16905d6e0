#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vpx/vp8cx.h>
#include <vpx/vpx_encoder.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "contract/DecodeFlags.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogCollector.h"
#include "support/DecodedPicture.h"
#include "support/Expected420.h"
#include "support/MediaStream.h"
#include "support/TestPicture.h"
#include "video/decoders/VideoDecoderVPX.h"
#include "video/decoders/VPXUtils.h"

namespace qvs {
namespace {

using test::CodedPacket;
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

TEST_F(VideoDecoderVPXTest, PutsColorsWhereTheLabelWantsThem) {
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

/// A form of VP9 pictures that frames can't take as it is.
struct OtherForm {
  vpx_img_fmt_t format;
  unsigned int profile, depth;
  vpx_color_space_t space = VPX_CS_BT_709;
};

/// Pictures of noise in that form.
std::vector<CodedPacket> encodeNoise(const OtherForm& form, uint32_t width, uint32_t height, uint32_t count) {
  vpx_codec_enc_cfg_t config{};
  vpx_codec_enc_config_default(vpx_codec_vp9_cx(), &config, 0);
  config.g_w = width;
  config.g_h = height;
  config.g_profile = form.profile;
  config.g_bit_depth = static_cast<vpx_bit_depth_t>(form.depth);
  config.g_input_bit_depth = form.depth;
  config.g_lag_in_frames = 0;
  const vpx_codec_flags_t flags = form.depth > 8 ? VPX_CODEC_USE_HIGHBITDEPTH : 0;
  vpx_codec_ctx_t context{};
  EXPECT_EQ(vpx_codec_enc_init(&context, vpx_codec_vp9_cx(), &config, flags), VPX_CODEC_OK);
  vpx_codec_control(&context, VP8E_SET_CPUUSED, 8);
  vpx_codec_control(&context, VP9E_SET_COLOR_SPACE, static_cast<int>(form.space));
  vpx_image_t* image = vpx_img_alloc(nullptr, form.format, width, height, 16);
  image->bit_depth = form.depth;
  image->cs = form.space;
  std::mt19937 random(form.format + width);
  std::vector<CodedPacket> packets;
  for (uint32_t number = 0; number < count; ++number) {
    for (int plane = 0; plane < 3; ++plane) {
      const uint32_t rows = plane != 0 ? (height + image->y_chroma_shift) >> image->y_chroma_shift : height;
      uint8_t* bytes = image->planes[plane];
      const auto samples = static_cast<size_t>(image->stride[plane]) * rows / (form.depth > 8 ? 2 : 1);
      for (size_t i = 0; i < samples; ++i) {
        const auto sample = static_cast<uint32_t>(random() & ((1u << form.depth) - 1));
        if (form.depth > 8) {
          reinterpret_cast<uint16_t*>(bytes)[i] = static_cast<uint16_t>(sample);
        } else {
          bytes[i] = static_cast<uint8_t>(sample);
        }
      }
    }
    EXPECT_EQ(vpx_codec_encode(&context, image, number, 1, 0, VPX_DL_REALTIME), VPX_CODEC_OK);
    vpx_codec_iter_t iterator = nullptr;
    while (const vpx_codec_cx_pkt_t* packet = vpx_codec_get_cx_data(&context, &iterator)) {
      const auto* coded = static_cast<const uint8_t*>(packet->data.frame.buf);
      packets.push_back({{coded, coded + packet->data.frame.sz}, number});
    }
  }
  vpx_img_free(image);
  vpx_codec_destroy(&context);
  return packets;
}

test::Expected420 expectedOf(const vpx_image_t& image) {
  return {.planes = {image.planes[0], image.planes[1], image.planes[2]},
          .strides = {image.stride[0], image.stride[1], image.stride[2]},
          .width = static_cast<int>(image.d_w),
          .height = static_cast<int>(image.d_h),
          .depth = image.bit_depth,
          .wide = (image.fmt & VPX_IMG_FMT_HIGHBITDEPTH) != 0,
          .shiftX = static_cast<int>(image.x_chroma_shift),
          .shiftY = static_cast<int>(image.y_chroma_shift),
          .rgb = image.cs == VPX_CS_SRGB,
          .fullRange = true};
}

/// Decodes with libvpx itself beside the decoder and compares each sample. Pictures compared.
uint32_t compareConverted(VideoDecoderVPX& decoder, std::vector<CodedPacket> packets, uint32_t fourCC) {
  decoder.setParameterValue(VideoDecoderVPX::kKeyConvertFormats, int64_t{1});
  vpx_codec_ctx_t direct{};
  vpx_codec_dec_init(&direct, vpx_codec_vp9_dx(), nullptr, 0);
  uint32_t pictures = 0;
  for (auto& [packet, timecode] : packets) {
    vpx_codec_decode(&direct, packet.data(), static_cast<unsigned>(packet.size()), nullptr, 0);
    vpx_codec_iter_t iterator = nullptr;
    const vpx_image_t* image = vpx_codec_get_frame(&direct, &iterator);
    uint32_t flags = 0;
    decoder.addFrame(packet.data(), 0, static_cast<uint32_t>(packet.size()), timecode, 0);
    decoder.decode(&flags);
    if (image == nullptr) continue;
    EXPECT_EQ(flags, kPicture);
    VideoFrameBuffer frame;
    frame.allocBuffer(image->d_w, image->d_h, fourCC, 1);
    EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);
    VideoFrameBuffer planar;
    if (fourCC == kFourCCNV12) {
      planar.allocBuffer(image->d_w, image->d_h, kFourCCYV12);
      frame.copyNV12toYV12(planar);
    }
    const std::vector<uint8_t> planes = test::i420Bytes(fourCC == kFourCCNV12 ? planar : frame);
    const test::Expected420 expected = expectedOf(*image);
    const uint8_t* at = planes.data();
    double worst = 0;
    for (int plane = 0; plane < 3; ++plane) {
      const int width = static_cast<int>(plane == 0 ? image->d_w : image->d_w / 2);
      const int height = static_cast<int>(plane == 0 ? image->d_h : image->d_h / 2);
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          worst = std::max(worst, std::abs(*at++ - expected.at(plane, x, y)));
        }
      }
    }
    EXPECT_LE(worst, image->cs == VPX_CS_SRGB ? 0.51 : 0.5) << "picture " << pictures;
    ++pictures;
  }
  vpx_codec_destroy(&direct);
  return pictures;
}

TEST_F(VideoDecoderVPXTest, BringsOtherFormsTo420WhereAsked) {
  constexpr OtherForm kForms[] = {{VPX_IMG_FMT_I444, 1, 8},
                                  {VPX_IMG_FMT_I422, 1, 8},
                                  {VPX_IMG_FMT_I440, 1, 8},
                                  {VPX_IMG_FMT_I42016, 2, 10},
                                  {VPX_IMG_FMT_I42216, 3, 12},
                                  {VPX_IMG_FMT_I44416, 3, 10},
                                  {VPX_IMG_FMT_I444, 1, 8, VPX_CS_SRGB},
                                  {VPX_IMG_FMT_I44416, 3, 12, VPX_CS_SRGB}};
  for (const OtherForm& form : kForms) {
    SCOPED_TRACE(testing::Message() << form.format << " in " << form.depth << " bits");
    for (const auto& [width, height] : {std::pair{66u, 50u}, {35u, 17u}, {16u, 720u}}) {
      open(9);
      EXPECT_EQ(compareConverted(decoder, encodeNoise(form, width, height, 2), kFourCCI420), 2u);
    }
    open(9);
    EXPECT_EQ(compareConverted(decoder, encodeNoise(form, 66, 50, 1), kFourCCNV12), 1u);
  }
  logLines();
  VideoFrameBuffer small;
  small.allocBuffer(9, 5, kFourCCYV12);
  EXPECT_EQ(decoder.getDecodedFrame(small), 0u);
  VideoFrameBuffer packed;
  packed.allocBuffer(66, 50, kFourCCBGRA, 1);
  EXPECT_EQ(decoder.getDecodedFrame(packed), 0u);
  EXPECT_EQ(logLines().size(), 1u);
}

TEST_F(VideoDecoderVPXTest, BringsRealStreamsOfOtherFormsTo420) {
  const char* root = std::getenv("QVS_MEDIA");
  if (root == nullptr) GTEST_SKIP() << "QVS_MEDIA names no folder with media: real streams are not checked";
  for (const char* name : {"320-444-10bit.ivf", "320-444-12bit.ivf", "vp9-multi-tile.ivf"}) {
    SCOPED_TRACE(name);
    test::MediaStream stream(std::string(root) + "/clips/vp9/" + name);
    std::vector<CodedPacket> packets;
    for (test::MediaUnit unit; packets.size() < 3 && stream.next(unit);)
      packets.push_back({unit.bytes, unit.timecode});
    open(9);
    EXPECT_GT(compareConverted(decoder, packets, kFourCCYV12), 1u);
  }
}

TEST_F(VideoDecoderVPXTest, WarnsOnceOfAPictureThatFramesCanNotTake) {
  open(9);
  logLines();
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12, 1);
  const std::vector<uint8_t> coded = encodeNoise({VPX_IMG_FMT_I444, 1, 8}, 64, 64, 1)[0].bytes;
  for (uint64_t timecode : {40, 80}) {
    ASSERT_EQ(decode(coded, timecode), kPicture);
    EXPECT_EQ(decoder.getDecodedFrame(frame), 0u);
    EXPECT_EQ(frame.getTimecode(), timecode);
    const std::vector<uint8_t> planes = test::i420Bytes(frame);
    EXPECT_EQ(std::count(planes.begin(), planes.end(), 0), static_cast<ptrdiff_t>(planes.size()));
  }
  EXPECT_THAT(
      logLines(),
      testing::ElementsAre("VideoDecoderVPX.getDecodedFrame[{context}]: Image format is not supported: 262"));
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

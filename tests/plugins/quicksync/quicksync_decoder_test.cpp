// The QuickSync decoders over a media runtime without a card, against libavcodec on the same streams.
extern "C" {
#include <libavcodec/avcodec.h>
}
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "frames/geometry/FourCC.h"
#include "plugins/quicksync/DecoderRun.h"
#include "plugins/quicksync/FakeRuntime.h"
#include "support/Md5.h"
#include "support/MediaStream.h"
#include "video/encoders/H264Playback.h"

using namespace qvs::test;
using testing::HasSubstr;

namespace {

constexpr uint32_t kAsyncDepth = 51000, kBusyTimeout = 51001, kSyncTimeout = 51002;

struct Stream {
  std::vector<uint8_t> config;
  std::vector<EncodedUnit> units;
  std::vector<H264Picture> pictures;  ///< what libavcodec makes of it, chroma rounded down
};

struct Free {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

/// B pictures in it, so that times ride through reordering.
Stream h264Stream(uint32_t width, uint32_t height, uint32_t count, uint64_t first) {
  Stream stream;
  QuickSyncEncoding encoder(quickSyncLibrary("encoder", "h264"), width, height, 120000);
  encoder.set(50009, 2);
  EXPECT_EQ(encoder.open(), 0) << encoder.problem();
  EXPECT_EQ(encoder.run(count, first, 10), 0);
  stream.units = encoder.units;
  stream.pictures = play(stream.units);
  std::vector<MediaBytes> sets;
  for (size_t at = 0; at + 4 < stream.units[0].bytes.size();) {
    const auto* bytes = stream.units[0].bytes.data() + at;
    const size_t size = size_t{bytes[0]} << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
    sets.emplace_back(bytes + 4, bytes + 4 + size);
    at += 4 + size;
  }
  stream.config = makeAvcRecord(sets);
  return stream;
}

Stream mpeg2Stream(int width, int height, int count, uint64_t first) {
  Stream stream;
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_MPEG2VIDEO);
  const std::unique_ptr<AVCodecContext, Free> encoder(avcodec_alloc_context3(codec));
  const std::unique_ptr<AVCodecContext, Free> decoder(
      avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_MPEG2VIDEO)));
  encoder->width = width;
  encoder->height = height;
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = {1, 25};
  encoder->framerate = {25, 1};
  encoder->gop_size = 8;
  encoder->max_b_frames = 2;
  encoder->bit_rate = 1000000;
  decoder->thread_count = 1;
  EXPECT_EQ(avcodec_open2(encoder.get(), codec, nullptr), 0);
  EXPECT_EQ(avcodec_open2(decoder.get(), nullptr, nullptr), 0);
  const std::unique_ptr<AVFrame, Free> frame(av_frame_alloc()), shown(av_frame_alloc());
  const std::unique_ptr<AVPacket, Free> packet(av_packet_alloc());
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = width;
  frame->height = height;
  av_frame_get_buffer(frame.get(), 0);
  const auto show = [&](const AVPacket* coded) {
    avcodec_send_packet(decoder.get(), coded);
    while (avcodec_receive_frame(decoder.get(), shown.get()) == 0) {
      H264Picture picture{static_cast<uint32_t>(width), static_cast<uint32_t>(height), 0, false, {}};
      for (int plane = 0; plane < 3; ++plane) {
        const int step = plane == 0 ? 1 : 2;
        for (int y = 0; y < (height + 1) / 2 * 2 / step; ++y) {
          const uint8_t* row = shown->data[plane] + y * shown->linesize[plane];
          picture.planes[plane].insert(picture.planes[plane].end(), row, row + (width + 1) / 2 * 2 / step);
        }
      }
      stream.pictures.push_back(std::move(picture));
    }
  };
  for (int time = 0; time <= count; ++time) {
    av_frame_make_writable(frame.get());
    for (int plane = 0; plane < 3; ++plane) {
      const int step = plane == 0 ? 1 : 2;
      for (int y = 0; y < (height + step - 1) / step; ++y) {
        for (int x = 0; x < (width + step - 1) / step; ++x) {
          const TestPixel pixel = testPixel(static_cast<uint32_t>(x * step), static_cast<uint32_t>(y * step),
                                            static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                                            static_cast<uint32_t>(time));
          frame->data[plane][y * frame->linesize[plane] + x] = plane == 0   ? pixel.y
                                                               : plane == 1 ? pixel.u
                                                                            : pixel.v;
        }
      }
    }
    frame->pts = time;
    avcodec_send_frame(encoder.get(), time < count ? frame.get() : nullptr);
    while (avcodec_receive_packet(encoder.get(), packet.get()) == 0) {
      stream.units.push_back({{packet->data, packet->data + packet->size},
                              first + static_cast<uint64_t>(packet->pts) * 40,
                              0,
                              (packet->flags & AV_PKT_FLAG_KEY) != 0 ? 1u : 2u});
      show(packet.get());
    }
  }
  show(nullptr);
  return stream;
}

class QuickSyncDecoder : public testing::TestWithParam<const char*> {
 protected:
  std::string library() const { return quickSyncLibrary("decoder", GetParam()); }
  bool isMpeg2() const { return std::string(GetParam()) == "mp2"; }
  Stream stream(uint32_t width, uint32_t height, uint32_t count, uint64_t first = 0) const {
    if (isMpeg2()) {
      return mpeg2Stream(static_cast<int>(width), static_cast<int>(height), static_cast<int>(count), first);
    }
    return h264Stream(width, height, count, first);
  }
  /// The time that a unit's picture is shown.
  static uint64_t shownAt(const EncodedUnit& unit) { return static_cast<uint64_t>(unit.presentation()); }

  static void addAll(DecoderRun& run, const Stream& stream) {
    if (!stream.config.empty()) {
      ASSERT_EQ(run.configure(stream.config), 0u) << run.problem();
    }
    for (const EncodedUnit& unit : stream.units)
      ASSERT_EQ(run.add(unit.bytes, shownAt(unit)), 0u) << run.problem();
  }
  /// Bytes of Y, V, U.
  static std::vector<uint8_t> bytesOf(const H264Picture& picture) {
    std::vector<uint8_t> bytes = picture.planes[0];
    bytes.insert(bytes.end(), picture.planes[2].begin(), picture.planes[2].end());
    bytes.insert(bytes.end(), picture.planes[1].begin(), picture.planes[1].end());
    return bytes;
  }
  static void expectPictures(const DecoderRun& run, const Stream& stream, size_t from, uint64_t first) {
    ASSERT_EQ(run.pictures.size(), from + stream.pictures.size());
    for (size_t i = 0; i < stream.pictures.size(); ++i) {
      const RunPicture& picture = run.pictures[from + i];
      EXPECT_EQ(picture.timecode, first + i * 40);
      EXPECT_TRUE(picture.bytes == bytesOf(stream.pictures[i])) << "picture " << i;
    }
  }
  FakeRuntime runtime;
};

TEST_P(QuickSyncDecoder, DecodesWhatLibavcodecDecodes) {
  constexpr uint64_t kFirst = 1700000000123;
  for (const int64_t depth : {1, 4}) {
    const Stream coded = stream(176, 112, 24, kFirst);
    // Lengths of 256 and more begin like a start code.
    EXPECT_TRUE(isMpeg2() || std::any_of(coded.units.begin(), coded.units.end(),
                                         [](const EncodedUnit& unit) { return unit.bytes[2] == 1; }));
    DecoderRun run(library());
    run.key(kAsyncDepth, depth);
    ASSERT_EQ(run.open(), 0) << run.problem();
    addAll(run, coded);
    ASSERT_EQ(run.flush(), 0u) << run.problem();
    expectPictures(run, coded, 0, kFirst);
    EXPECT_EQ(run.pictures[0].frameType, QVS_FRAME_KEY);
    const auto keys = [](const auto& all) {
      return std::count_if(all.begin(), all.end(),
                           [](const auto& one) { return one.frameType == QVS_FRAME_KEY; });
    };
    EXPECT_EQ(keys(run.pictures), keys(coded.units));
    EXPECT_EQ(run.plugin.call(&pluginVideoDecoder::func_getFrameRate), 25.0);
    EXPECT_EQ(run.seen & (QVS_DECODE_FRAME_ERROR | QVS_DECODE_ABORTED), 0u);
    // It goes on behind a flush.
    addAll(run, coded);
    ASSERT_EQ(run.flush(), 0u) << run.problem();
    expectPictures(run, coded, 24, kFirst);
  }
  EXPECT_EQ(runtime.live(), 0);
}

TEST_P(QuickSyncDecoder, FollowsANewSizeInMidStream) {
  const Stream first = stream(176, 112, 10), second = stream(128, 96, 10, 400),
               third = stream(208, 144, 10, 800);
  DecoderRun run(library());
  run.key(kAsyncDepth, 2);
  ASSERT_EQ(run.open(), 0) << run.problem();
  for (const Stream* one : {&first, &second, &third}) addAll(run, *one);
  ASSERT_EQ(run.flush(), 0u);
  ASSERT_EQ(run.pictures.size(), 30u);
  EXPECT_EQ(run.pictures[10].width, 128u);
  EXPECT_EQ(run.pictures[29].height, 144u);
  EXPECT_NE(run.seen & QVS_DECODE_INFO_UPDATED, 0u);
  run.pictures.resize(20);
  expectPictures(run, second, 10, 400);
}

TEST_P(QuickSyncDecoder, ClosesCleanWhicheverCallFails) {
  const Stream coded = stream(96, 64, 6);
  const auto whole = [&](DecoderRun& run) {
    if (const int32_t status = run.open(); status != 0) return static_cast<uint32_t>(status);
    if (!coded.config.empty()) {
      if (const uint32_t status = run.configure(coded.config); status != 0) return status;
    }
    for (int round = 0; round < 2; ++round) {
      for (const EncodedUnit& unit : coded.units) {
        if (const uint32_t status = run.add(unit.bytes, shownAt(unit)); status != 0) return status;
      }
      if (const uint32_t status = run.flush(); status != 0) return status;
    }
    return 0u;
  };
  uint64_t calls = 4;
  for (uint64_t n = 4; n <= calls; ++n) {
    runtime.script("any@" + std::to_string(n) + "=status:" + (n % 2 == 0 ? "-13" : "-17"));
    {
      DecoderRun run(library());
      const uint32_t status = whole(run);
      if (n == 4) {
        runtime.script("");
        DecoderRun plain(library());
        EXPECT_EQ(whole(plain), 0u) << plain.problem();
        calls = runtime.calls();
        EXPECT_GT(calls, 30u);
        continue;
      }
      const std::string faulty = runtime.faulty();
      if (!faulty.empty()) {
        EXPECT_NE(status, 0u) << faulty;
        EXPECT_THAT(run.problem(), HasSubstr(faulty));
        EXPECT_THAT(run.problem(), HasSubstr("MFX_ERR_DEVICE_"));
        runtime.script("");
        EXPECT_EQ(whole(run), 0u) << run.problem();
        runtime.script("any@" + std::to_string(n) + "=status:-13");
      }
    }
    EXPECT_EQ(runtime.live(), 0) << "after call " << n;
  }
}

TEST_P(QuickSyncDecoder, WaitsForACardButNotForEver) {
  struct Case {
    const char* script;
    const char* problem;  ///< empty: nothing fails
  };
  const Stream coded = stream(96, 64, 6);
  for (const Case& one :
       {Case{"MFXVideoDECODE_DecodeFrameAsync@3=status:2", ""},
        Case{"MFXVideoDECODE_DecodeFrameAsync@3=status:-11", ""},
        Case{"MFXVideoDECODE_DecodeFrameAsync@3=status:3", ""},
        Case{"MFXVideoDECODE_DecodeFrameAsync@3=late:60", ""},
        Case{"MFXVideoDECODE_DecodeFrameAsync@3+=status:2", "MFX_WRN_DEVICE_BUSY (2) after"},
        Case{"MFXVideoDECODE_DecodeFrameAsync@3+=status:-11", "MFX_ERR_MORE_SURFACE (-11) after"},
        Case{"MFXVideoDECODE_DecodeFrameAsync@1+=never",
             "MFXVideoCORE_SyncOperation: MFX_WRN_IN_EXECUTION (1) after 150 ms"}}) {
    runtime.script(one.script);
    DecoderRun run(library());
    run.key(kBusyTimeout, 120);
    run.key(kSyncTimeout, 150);
    ASSERT_EQ(run.open(), 0) << run.problem();
    uint32_t status = 0;
    const auto begin = std::chrono::steady_clock::now();
    if (!coded.config.empty()) status = run.configure(coded.config);
    for (size_t i = 0; i < coded.units.size() && status == 0; ++i) {
      status = run.add(coded.units[i].bytes, shownAt(coded.units[i]));
    }
    if (status == 0) status = run.flush();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(5000)) << one.script;
    if (*one.problem != 0) {
      EXPECT_THAT(run.problem(), HasSubstr(one.problem));
    } else {
      EXPECT_EQ(run.pictures.size(), 6u) << one.script << ' ' << run.problem();
    }
  }
}

TEST_P(QuickSyncDecoder, TakesOnlyWhatIsWhole) {
  const Stream coded = stream(96, 64, 4);
  DecoderRun run(library());
  EXPECT_NE(run.add({1, 2, 3, 4}, 0), 0u) << "before it is open";
  ASSERT_EQ(run.open(), 0);
  EXPECT_EQ(run.configure({1, 2, 3}), QVS_PLUGIN_PARSE_HEADER);
  EXPECT_EQ(run.add({0, 0, 1}, 0), 0u) << "no header, no picture";
  if (!isMpeg2()) {
    std::vector<uint8_t> cut = coded.config;
    cut.resize(cut.size() - 3);
    EXPECT_EQ(run.configure(cut), QVS_PLUGIN_PARSE_HEADER);
    ASSERT_EQ(run.configure(coded.config), 0u);
    EXPECT_EQ(run.add({0, 0, 0, 9, 0x65, 1}, 0), QVS_PLUGIN_PARSE_HEADER);
    EXPECT_THAT(run.problem(), HasSubstr("length"));
  }
  addAll(run, coded);
  ASSERT_EQ(run.flush(), 0u);
  EXPECT_EQ(run.pictures.size(), 4u);
  uint8_t byte = 0;
  uint32_t none = 0;
  uint64_t wide = 0;
  EXPECT_NE(run.plugin.call(&pluginVideoDecoder::func_getDecodedFrame, static_cast<void*>(&byte), 1u, &none,
                            &none, &none, &wide, &wide),
            0u);
}

TEST(QuickSyncDecoderMP2, HandsOutTheWholeOfAnOddPicture) {
  const FakeRuntime runtime;
  const Stream coded = mpeg2Stream(97, 65, 5, 0);
  DecoderRun run(quickSyncLibrary("decoder", "mp2"));
  ASSERT_EQ(run.open(), 0) << run.problem();
  for (const EncodedUnit& unit : coded.units) ASSERT_EQ(run.add(unit.bytes, unit.timecode), 0u);
  ASSERT_EQ(run.flush(), 0u);
  ASSERT_EQ(run.pictures.size(), 5u);
  EXPECT_EQ(run.pictures[0].width, 98u);
  EXPECT_EQ(run.pictures[0].displayHeight, 65u);
}

/// The sum that a collection's list has for a file.
std::string publishedSum(const std::string& root, const std::string& path) {
  std::ifstream list(root + "/README.md");
  const std::string name = "| " + path.substr(path.rfind('/') + 1) + " |";
  for (std::string line; std::getline(list, line);) {
    if (line.rfind(name, 0) != 0) continue;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      if (word.size() == 32 && word.find_first_not_of("0123456789abcdef") == std::string::npos) return word;
    }
  }
  return {};
}

// Sets in the stream and in a record, lengths of two bytes, cropping, sizes that change, transport streams.
TEST_P(QuickSyncDecoder, DecodesRealStreams) {
  const char* root = std::getenv("QVS_MEDIA");
  if (root == nullptr) GTEST_SKIP() << "QVS_MEDIA names no collection";
  const std::vector<const char*> h264{"vectors/h264/BA_MW_D.264",
                                      "vectors/h264/bbb_avc_640x360_768kbps_30fps.h264",
                                      "clips/h264/bear-640x360.ts",
                                      "clips/h264/sample_2_byte_NAL_length.mp4",
                                      "clips/h264/ref_video_variable_parameters.mp4",
                                      "clips/h264/swirl_130x132_h264.mp4"};
  const std::vector<const char*> mpeg2{"clips/mpeg2/bbb_mpeg2_176x144_105kbps_25fps.m2v",
                                       "clips/mpeg2/bear.m2ts"};
  for (const char* path : isMpeg2() ? mpeg2 : h264) {
    MediaStream media(std::string(root) + "/" + path);
    DecoderRun run(library());
    run.plugin.call(&pluginVideoDecoder::func_setFourcc, qvs::kFourCCI420);
    run.key(kAsyncDepth, 2);
    ASSERT_EQ(run.open(), 0) << run.problem();
    if (!media.getConfig().empty()) {
      EXPECT_EQ(run.configure(media.getConfig()), 0u) << path << ' ' << run.problem();
    }
    RunningMd5 sum;
    const auto take = [&] {
      for (const RunPicture& picture : run.pictures) sum.add(picture.bytes);
      run.pictures.clear();
    };
    for (MediaUnit unit; media.next(unit); take()) {
      ASSERT_EQ(run.add(unit.bytes, unit.timecode), 0u) << path << ' ' << run.problem();
    }
    EXPECT_EQ(run.flush(), 0u);
    take();
    EXPECT_EQ(sum.text(), publishedSum(root, path)) << path;
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, QuickSyncDecoder, testing::Values("h264", "mp2"),
                         [](const auto& info) { return info.param; });

}  // namespace

// The plug-ins on libx264 and libx265, through the libraries as they ship.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include <x264.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "PluginEncoder.h"
#include "video/decoders/DecoderRun.h"

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct Row {
  const char* library;
  uint32_t codec;
  uint32_t base;  ///< of its keys
};
constexpr Row kX264{"libqvs-vencoder-h264-x264.so", 7, 70000};
constexpr Row kX265{"libqvs-vencoder-h265-x265.so", 12, 80000};
constexpr Row kMainConcept{"libqvs-vencoder-h265-mainconcept.so", 12, 80000};
enum Key : uint32_t {
  kPreset = 0,
  kProfile = 2,
  kLevel = 3,
  kRateControl = 4,
  kQuality = 5,
  kInterval = 9,
  kBFrames = 10,
  kReferences = 11,
  kLookAhead = 12,
  kThreads = 13,
  kFrameThreads = 14
};

std::vector<MediaBytes> nalUnits(const MediaBytes& bytes) {
  std::vector<MediaBytes> units;
  for (size_t at = 0; at + 4 <= bytes.size();) {
    const size_t size =
        size_t{bytes[at]} << 24 | size_t{bytes[at + 1]} << 16 | size_t{bytes[at + 2]} << 8 | bytes[at + 3];
    if (size > bytes.size() - at - 4) return {};
    units.emplace_back(bytes.begin() + static_cast<ptrdiff_t>(at + 4),
                       bytes.begin() + static_cast<ptrdiff_t>(at + 4 + size));
    at += 4 + size;
  }
  return units;
}

/// What the transcoder's own decoder makes of the units from `from` on, which must be a key frame.
std::vector<Picture> play(const Row& row, const std::vector<EncodedUnit>& units, size_t from = 0) {
  DecoderRun run(row.codec);
  const std::vector<MediaBytes> first = nalUnits(units.at(from).bytes);
  run.harness.config(row.codec == 7 ? makeAvcRecord(first) : makeHevcRecord(first));
  for (size_t i = from; i < units.size(); ++i) {
    MediaBytes bytes = units[i].bytes;
    run.harness.feed(bytes, static_cast<uint64_t>(units[i].presentation()), units[i].frameType);
  }
  run.harness.drain();
  return run.pictures;
}

/// Lowest PSNR of any plane against test picture `number` of the size that went in.
double worstPlane(const Picture& picture, const PluginEncoder& encoder, uint32_t number) {
  double worst = 99;
  const uint8_t* at = picture.bytes.data();
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t step = plane == 0 ? 1 : 2, width = picture.width / step, height = picture.height / step;
    double sum = 0;
    for (uint32_t i = 0; i < width * height; ++i) {
      const TestPixel pixel = testPixel(i % width * step, i / width * step, encoder.picture.getWidth(),
                                        encoder.picture.getHeight(), number);
      const int wanted = plane == 0 ? pixel.y : plane == 1 ? pixel.u : pixel.v;
      sum += std::pow(*at++ - wanted, 2);
    }
    worst = std::min(worst, 10 * std::log10(255.0 * 255 * width * height / std::max(sum, 1.0)));
  }
  return worst;
}

class SoftwareEncoders : public testing::TestWithParam<Row> {
 protected:
  const Row row = GetParam();
  uint32_t key(Key number) const { return row.base + number; }
};
INSTANTIATE_TEST_SUITE_P(Each, SoftwareEncoders, testing::Values(kX264, kX265));

TEST_P(SoftwareEncoders, GiveEachPictureAtOnceInRightColors) {
  for (const auto& [width, height] :
       {std::pair(176u, 144u), {175u, 143u}, {250u, 131u}, {16u, 18u}, {40u, 32u}}) {
    PluginEncoder encoder(row.library, width, height);
    ASSERT_EQ(encoder.open(), 0) << encoder.problem();
    for (uint32_t number = 0; number < 5; ++number) {
      ASSERT_EQ(encoder.add(number, 1000 + number * 40), 0) << encoder.problem();
      ASSERT_EQ(encoder.units.size(), number + 1) << width;
      EXPECT_EQ(encoder.units.back().timecode, 1000 + number * 40);
      EXPECT_EQ(encoder.units.back().offset, 0);
    }
    const std::vector<Picture> pictures = play(row, encoder.units);
    ASSERT_EQ(pictures.size(), 5u) << width;
    for (uint32_t number = 0; number < 5; ++number) {
      EXPECT_EQ(std::pair(pictures[number].width, pictures[number].height),
                std::pair(width & ~1u, height & ~1u));
      EXPECT_GT(worstPlane(pictures[number], encoder, number), 35) << width << " " << number;
    }
  }
}

TEST_P(SoftwareEncoders, BeginAnewOnlyWhereAskedWhenTheyFollow) {
  for (const bool follow : {true, false}) {
    PluginEncoder encoder(row.library, 64, 64);
    encoder.plugin.call(&pluginVideoEncoder::func_setKeyFrameFollow, uint32_t{follow});
    encoder.set(key(kInterval), 10);
    ASSERT_EQ(encoder.open(), 0) << encoder.problem();
    // A cut at picture 14, which nobody asked a key frame for.
    for (uint32_t number = 0; number < 24; ++number)
      encoder.add(number < 14 ? number : 900 + 40 * number, number * 40, number == 7);
    std::vector<size_t> keys;
    for (size_t i = 0; i < encoder.units.size(); ++i)
      if (encoder.units[i].frameType == QVS_FRAME_KEY) keys.push_back(i);
    if (follow) {
      EXPECT_THAT(keys, ElementsAre(0u, 7u));
    } else {
      EXPECT_GE(keys.size(), 3u);
    }
    EXPECT_EQ(play(row, encoder.units, 7).size(), 17u) << "parameter sets stand in front of every key frame";
  }
}

TEST_P(SoftwareEncoders, LoseNothingThatTheyHoldBack) {
  for (const uint64_t start : {uint64_t{0}, uint64_t{1764000000000}}) {
    PluginEncoder encoder(row.library, 64, 64);
    const std::pair<Key, int64_t> settings[] = {
        {kBFrames, 3}, {kLookAhead, 20}, {kFrameThreads, 1}, {kThreads, 2}};
    for (const auto& [number, value] : settings) ASSERT_EQ(encoder.set(key(number), value), 0);
    ASSERT_EQ(encoder.open(), 0) << encoder.problem();
    std::vector<int64_t> given, shown;
    for (uint32_t number = 0; number < 30; ++number) {
      given.push_back(static_cast<int64_t>(start + number * 40 + (number > 20 ? 5000 : 0)));
      ASSERT_EQ(encoder.add(number, static_cast<uint64_t>(given.back())), 0) << encoder.problem();
    }
    EXPECT_LT(encoder.units.size(), 30u);
    EXPECT_EQ(encoder.drain(), 0) << encoder.problem();
    ASSERT_EQ(encoder.units.size(), 30u);
    uint32_t late = 0;
    for (size_t i = 0; i < 30; ++i) {
      const EncodedUnit& unit = encoder.units[i];
      shown.push_back(unit.presentation());
      late += unit.frameType == QVS_FRAME_BIDIRECTIONAL;
      EXPECT_GE(unit.offset, 0) << i;
      if (i > 0) {
        EXPECT_GT(unit.timecode, encoder.units[i - 1].timecode) << i;
      }
    }
    EXPECT_LT(encoder.units.back().timecode, uint64_t{1} << 62) << "no time below 0";
    EXPECT_GT(late, 5u);
    std::sort(shown.begin(), shown.end());
    EXPECT_EQ(shown, given);
    const std::vector<Picture> pictures = play(row, encoder.units);
    ASSERT_EQ(pictures.size(), 30u);
    EXPECT_GT(worstPlane(pictures[29], encoder, 29), 35);
    EXPECT_NE(encoder.add(30, start + 9000), 0) << "a picture after the end";
    EXPECT_EQ(encoder.open(), 0) << "which begins anew";
    EXPECT_EQ(encoder.add(31, start + 9040), 0);
  }
}

TEST_P(SoftwareEncoders, ChangeTheBitRateWhileTheyRun) {
  PluginEncoder encoder(row.library, 320, 180, 200'000);
  ASSERT_EQ(encoder.open(), 0) << encoder.problem();
  auto bytesOfSecond = [&, number = 0u]() mutable {
    encoder.units.clear();
    // Pictures far apart, so that there is no end to what bits are good for.
    for (const uint32_t end = number + 50; number < end; ++number)
      encoder.add(number * 17, number * 40, number % 50 == 0);
    EXPECT_EQ(std::count_if(encoder.units.begin(), encoder.units.end(),
                            [](const EncodedUnit& unit) { return unit.frameType == QVS_FRAME_KEY; }),
              1);
    return std::accumulate(encoder.units.begin() + 25, encoder.units.end(), size_t{0},
                           [](size_t sum, const EncodedUnit& unit) { return sum + unit.bytes.size(); });
  };
  const auto update = &pluginVideoEncoder::func_updateBitrate;
  const size_t low = bytesOfSecond();
  EXPECT_EQ(encoder.plugin.call(update, 800'000u), 0) << encoder.problem();
  const size_t high = bytesOfSecond();
  EXPECT_EQ(encoder.plugin.call(update, 200'000u), 0) << encoder.problem();
  const size_t again = bytesOfSecond();
  EXPECT_GT(high, 2 * low);
  EXPECT_LT(2 * again, high);
  EXPECT_NEAR(static_cast<double>(high), 100'000, 30'000) << "a second's bytes";
  encoder.plugin.call(&pluginVideoEncoder::func_setFrameSize, 640u, 360u);
  EXPECT_NE(encoder.add(0, 9000), 0) << "a new size counts once it is opened with";
  encoder.set(key(kRateControl), 2);
  ASSERT_EQ(encoder.open(), 0) << encoder.problem();
  EXPECT_EQ(encoder.plugin.call(update, 800'000u), QVS_PLUGIN_NO_VBR);
  EXPECT_THAT(encoder.problem(), HasSubstr("constant quantizer"));
}

TEST_P(SoftwareEncoders, RefuseInWords) {
  struct Refusal {
    uint32_t width, bitRate;
    std::vector<std::pair<Key, int64_t>> settings;
    const char* words;
  };
  std::vector<Refusal> refusals{
      {1, 100'000, {}, row.codec == 7 ? "two columns" : "sides of 16"},
      {64, 0, {}, "no bit rate"},
      {64, 0, {{kRateControl, 1}}, "capped quality needs"},
      {64, 100'000, {{kLevel, 15}}, row.codec == 7 ? "invalid level_idc" : "level 15"}};
  if (row.codec == 7) refusals.push_back({64, 100'000, {{kProfile, 1}, {kBFrames, 1}}, "baseline has no B"});
  if (row.codec == 12) {
    refusals.push_back({8194, 100'000, {}, "16 to 8192"});
    refusals.push_back({640, 100'000, {{kLevel, 10}}, "is level 10 too low"});
    refusals.push_back({64, 100'000, {{kBFrames, 1}, {kReferences, 7}}, "at most 6 references"});
  }
  for (const Refusal& refusal : refusals) {
    PluginEncoder encoder(row.library, refusal.width, 64, refusal.bitRate);
    for (const auto& [number, value] : refusal.settings) EXPECT_EQ(encoder.set(key(number), value), 0);
    EXPECT_GT(encoder.open(), 0);
    EXPECT_THAT(encoder.problem(), HasSubstr(refusal.words));
    EXPECT_GT(encoder.add(0, 0), 0) << "nothing is open";
  }
  PluginEncoder encoder(row.library, 64, 64);
  EXPECT_GT(encoder.set(key(kPreset), 17), 0);
  EXPECT_THAT(encoder.problem(),
              HasSubstr("preset (" + std::to_string(row.base) + ") is 17, taken are 0 to 9"));
  int64_t preset = 0;
  double quality = 0;
  encoder.plugin.call(&pluginVideoEncoder::func_getParameterValueLong, key(kPreset), &preset);
  EXPECT_EQ(preset, row.codec == 7 ? 2 : 1) << "what was refused changes nothing";
  EXPECT_EQ(encoder.plugin.call(&pluginVideoEncoder::func_setParameterValueDouble, key(kQuality), 20.5), 0);
  encoder.plugin.call(&pluginVideoEncoder::func_getParameterValueDouble, key(kQuality), &quality);
  EXPECT_EQ(quality, 20.5);
  const auto type = &pluginVideoEncoder::func_getParameterValueType;
  EXPECT_EQ(encoder.plugin.call(type, key(kQuality), nullptr), 3);
  EXPECT_EQ(encoder.plugin.call(type, key(kPreset), nullptr), 1);
  EXPECT_EQ(encoder.plugin.call(type, 1u, nullptr), 0);
}

TEST(SoftwareEncodersTogether, KeepApart) {
  // The tables of libx265 are common to both of its plug-ins, and coding blocks of two sizes meet.
  PluginEncoder large(kX265.library, 320, 180);
  large.set(kX265.base + kPreset, 5);
  ASSERT_EQ(large.open(), 0);
  for (uint32_t number = 0; number < 4; ++number) {
    PluginEncoder small(kMainConcept.library, 48, 34);
    ASSERT_EQ(small.open(), 0);
    ASSERT_EQ(small.add(number, 0), 0);
    ASSERT_EQ(large.add(number, number * 40), 0);
    EXPECT_GT(worstPlane(play(kX265, small.units).at(0), small, number), 35);
  }
  EXPECT_GT(worstPlane(play(kX265, large.units).at(3), large, 3), 35);
}

TEST(X264Plugin, GivesTheBytesOfLibx264CalledDirectly) {
  PluginEncoder encoder(kX264.library, 320, 180, 500'000);
  encoder.set(kX264.base + kThreads, 1);
  ASSERT_EQ(encoder.open(), 0);
  x264_param_t param;
  x264_param_default_preset(&param, "veryfast", "zerolatency");
  param.i_width = 320;
  param.i_height = 180;
  param.i_fps_num = 25;
  param.i_threads = 1;
  param.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  param.i_scenecut_threshold = 0;
  param.rc.i_rc_method = X264_RC_ABR;
  param.rc.i_bitrate = param.rc.i_vbv_max_bitrate = param.rc.i_vbv_buffer_size = 500;
  param.b_annexb = 0;
  param.b_repeat_headers = 1;
  param.i_log_level = X264_LOG_NONE;
  x264_param_apply_profile(&param, "high");
  x264_t* direct = x264_encoder_open(&param);
  ASSERT_NE(direct, nullptr);
  for (uint32_t number = 0; number < 40; ++number) {
    ASSERT_EQ(encoder.add(number, number * 40), 0);
    const auto& planes = encoder.picture.getFrame();  // Y, V, U
    x264_picture_t picture, coded;
    x264_picture_init(&picture);
    picture.img.i_csp = X264_CSP_I420;
    picture.img.i_plane = 3;
    picture.i_pts = number;
    for (const int plane : {0, 1, 2}) {
      const int from = plane == 0 ? 0 : 3 - plane;
      picture.img.plane[plane] = static_cast<uint8_t*>(planes.plane[from]);
      picture.img.i_stride[plane] = static_cast<int>(planes.stride[from]);
    }
    x264_nal_t* nals = nullptr;
    int count = 0;
    const int size = x264_encoder_encode(direct, &nals, &count, &picture, &coded);
    ASSERT_GT(size, 0);
    ASSERT_EQ(encoder.units.back().bytes, MediaBytes(nals[0].p_payload, nals[0].p_payload + size)) << number;
  }
  x264_encoder_close(direct);
}

}  // namespace
}  // namespace qvs::test

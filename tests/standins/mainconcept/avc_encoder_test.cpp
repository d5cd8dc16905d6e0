#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mc_enc_avc.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "avc/AvcBufferGrowth.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> warnings;
int allocationsLeft = -1;  ///< -1: no limit
int live = 0;              ///< blocks that weren't given back

void warn(const char* format, ...) {
  char line[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  warnings.emplace_back(line);
}

void* allocate(size_t size) {
  if (allocationsLeft == 0) return nullptr;
  if (allocationsLeft > 0) --allocationsLeft;
  ++live;
  return std::malloc(size);
}

void release(void* block) {
  --live;
  std::free(block);
}

mc_callbacks_t makeCallbacks() {
  warnings.clear();
  allocationsLeft = -1;
  mc_callbacks_t callbacks{};
  callbacks.malloc = allocate;
  callbacks.free = release;
  callbacks.wrn_printf = warn;
  return callbacks;
}

h264_v_settings defaults(int32_t width = 64, int32_t height = 64) {
  h264_v_settings settings;
  h264OutVideoDefaultSettings(&settings, H264_TYPE_GENERAL, width, height, H264_PROGRESSIVE, nullptr);
  return settings;
}

/// A stream of bounded room that keeps what it is told.
struct Stream {
  explicit Stream(uint32_t room) : room(room) {
    table.copybytes = [](bufstream_tt* self, uint8_t*, uint32_t size) {
      Stream& stream = *static_cast<Stream*>(self->Buf_IO_struct);
      if (stream.refusals != 0) return stream.refusals--, 0u;
      return size <= stream.room ? size : 0;
    };
    table.auxinfo = [](bufstream_tt* self, uint32_t, uint32_t code, void* info, uint32_t) -> uint32_t {
      Stream& stream = *static_cast<Stream*>(self->Buf_IO_struct);
      stream.codes.push_back(code);
      if (code == VIDEO_AU_CODE) stream.units.push_back(*static_cast<mc_v_au_struct_t*>(info));
      return 0;
    };
    table.Buf_IO_struct = this;
  }

  uint32_t room;
  uint32_t refusals = 0;  ///< calls that find no room, before all others
  bufstream_tt table{};
  std::vector<uint32_t> codes;
  std::vector<mc_v_au_struct_t> units;
};

struct Picture {
  explicit Picture(uint32_t seed) : bytes(64 * 64 * 3 / 2) {
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>((seed = seed * 1103515245 + 12345) >> 16);
  }

  int32_t put(h264venc_tt* encoder, const mc_enc_option_t* options = nullptr) {
    uint8_t* const planes[4] = {bytes.data(), bytes.data() + 4096, bytes.data() + 5120, nullptr};
    const int32_t strides[4] = {64, 32, 32, 0};
    constexpr uint32_t kYV12 = 'Y' | 'V' << 8 | '1' << 16 | '2' << 24;
    return h264OutVideoPutFrame(encoder, planes, strides, 64, 64, kYV12, options);
  }

  std::vector<uint8_t> bytes;
};

TEST(AvcSettings, OfEveryTypeAndLevelStandAsTheyAre) {
  for (int32_t type : {H264_TYPE_GENERAL, H264_TYPE_BASELINE, H264_TYPE_MAIN}) {
    for (int32_t level = 0; level <= 15; ++level) {
      mc_callbacks_t callbacks = makeCallbacks();
      h264_v_settings settings;
      h264OutVideoDefaultSettings(&settings, type, 640, 360, 0, &callbacks);
      EXPECT_EQ(h264OutVideoPerformance(&settings, 0, level, 0, &callbacks), 0);
      EXPECT_EQ(h264OutVideoChkSettings(&callbacks, &settings, 3, nullptr), 0) << type << " " << level;
    }
  }
  h264_v_settings settings = defaults();
  EXPECT_NE(h264OutVideoPerformance(&settings, 0, 99, 0, nullptr), 0);
  EXPECT_EQ(settings.speed_level, 15);
}

TEST(AvcSettings, ThatCanNotBeServedAreRepairedOnceAndNamed) {
  struct Case {
    const char* name;
    void (*spoil)(h264_v_settings&);
  };
  const Case cases[] = {
      {"profile_id can't be 77, 1 is taken", [](auto& s) { s.profile_id = 77; }},
      {"level_id can't be 35, 100 is taken", [](auto& s) { s.level_id = 35; }},
      {"def_horizontal_size can't be 63, 62 is taken", [](auto& s) { s.def_horizontal_size = 63; }},
      {"interlace_mode can't be 1", [](auto& s) { s.interlace_mode = 1, s.def_vertical_size = 62; }},
      {"frame_rate", [](auto& s) { s.frame_rate = 1e300; }},
      {"frame_rate", [](auto& s) { s.frame_rate = -1; }},
      {"frame_rate", [](auto& s) { s.frame_rate = 0.001; }},
      {"num_units_in_tick", [](auto& s) { s.num_units_in_tick = 1000000, s.time_scale = 1; }},
      {"max_bit_rate can't be 10, 850000 is taken", [](auto& s) { s.max_bit_rate = 10; }},
      {"hrd_maintain can't be 1", [](auto& s) { s.hrd_maintain = 1; }},
      {"sar_width can't be 4", [](auto& s) { s.sar_width = 4; }},
      {"max_quant can't be 10, 20 is taken", [](auto& s) { s.min_quant = 20, s.max_quant = 10; }},
      {"cr_offset can't be 3, 0 is taken", [](auto& s) { s.cr_offset = 3; }},
      {"reordering_delay can't be 3", [](auto& s) { s.low_delay = 1, s.reordering_delay = 3; }},
      {"buffering can't be 9", [](auto& s) { s.live_mode = 1, s.buffering = 9; }},
      {"air_mode can't be 1", [](auto& s) { s.air_mode = 1; }},
      {"min_idr_interval can't be 30, 11 is taken",
       [](auto& s) { s.idr_interval = 20, s.min_idr_interval = 30; }},
      {"grain_mode can't be 1, 0 is taken", [](auto& s) { s.grain_mode = 1; }},
      {"chroma_format can't be 2, 1 is taken", [](auto& s) { s.chroma_format = 2; }},
      {"min_frame_size", [](auto& s) { s.min_frame_size[3] = 1; }},
      {"adaptive_quant_strength", [](auto& s) { s.adaptive_quant_strength[0] = -1; }},
      {"inter_y_8x8_scaling_list", [](auto& s) { s.inter_y_8x8_scaling_list[63] = 1; }},
      {"intra_cr_4x4_scaling_list",
       [](auto& s) { std::memset(s.intra_cr_4x4_scaling_list, 9, sizeof s.intra_cr_4x4_scaling_list); }},
      {"max_quant can't be 5, 36 is taken",
       [](auto& s) {
         s.max_quant = 5;
         std::memset(s.intra_y_4x4_scaling_list, 1, sizeof s.intra_y_4x4_scaling_list);
       }},
      {"colorimetry", [](auto& s) { s.colorimetry.matrix_coefficients = 99; }},
      {"colorimetry",
       [](auto& s) {
         set_colorimetry_from_color_description(&s.source_colorimetry, COLOR_DESCRIPTION_BT709);
         set_colorimetry_from_color_description(&s.colorimetry, COLOR_DESCRIPTION_BT2100_PQ);
       }},
  };
  for (const Case& c : cases) {
    const mc_callbacks_t callbacks = makeCallbacks();
    h264_v_settings settings = defaults();
    c.spoil(settings);
    EXPECT_EQ(h264OutVideoNew(&callbacks, &settings, 0, -1, 0, 0), nullptr) << c.name;
    EXPECT_EQ(h264OutVideoChkSettings(&callbacks, &settings, 3, nullptr), 1) << c.name;
    EXPECT_THAT(warnings, ElementsAre(HasSubstr(c.name)));
    EXPECT_EQ(h264OutVideoChkSettings(&callbacks, &settings, 3, nullptr), 0) << c.name;
  }
}

TEST(AvcEncoder, IsNotMadeWithoutMemoryOrSettings) {
  mc_callbacks_t callbacks = makeCallbacks();
  const h264_v_settings settings = defaults();
  live = 0;
  allocationsLeft = 0;
  EXPECT_EQ(h264OutVideoNew(&callbacks, &settings, 0, -1, 0, 0), nullptr);
  EXPECT_EQ(h264OutVideoNew(&callbacks, nullptr, 0, -1, 0, 0), nullptr);
  allocationsLeft = -1;
  h264venc_tt* encoder = h264OutVideoNew(&callbacks, &settings, 0, -1, 0, 0);
  ASSERT_NE(encoder, nullptr);
  EXPECT_NE(h264OutVideoInit(encoder, nullptr, 0, nullptr), 0);
  bufstream_tt unable{};
  EXPECT_NE(h264OutVideoInit(encoder, &unable, 0, nullptr), 0);
  EXPECT_EQ(Picture(1).put(encoder), 1);  // no stream
  h264OutVideoFree(encoder);
  h264OutVideoFree(nullptr);
  EXPECT_EQ(live, 0);
  h264venc_tt* plain = h264OutVideoNew(nullptr, &settings, 0, -1, 0, 0);
  EXPECT_NE(plain, nullptr);
  h264OutVideoFree(plain);
}

TEST(AvcEncoder, StartsAgainWithAKeyPictureAfterAUnitThatFoundNoRoom) {
  const mc_callbacks_t callbacks = makeCallbacks();
  const h264_v_settings settings = defaults();
  h264venc_tt* encoder = h264OutVideoNew(&callbacks, &settings, 0, -1, 0, 0);
  Stream stream(1 << 20);
  ASSERT_EQ(h264OutVideoInit(encoder, &stream.table, 0, nullptr), 0);
  EXPECT_EQ(Picture(1).put(encoder), 0);
  EXPECT_EQ(Picture(1).put(encoder), 0);
  stream.room = 8;
  EXPECT_EQ(Picture(2).put(encoder), 2);
  stream.room = 1 << 20;
  EXPECT_EQ(Picture(2).put(encoder), 0);
  EXPECT_THAT(stream.codes, ElementsAre(TIME_STAMP_INFO, VIDEO_AU_CODE, TIME_STAMP_INFO, VIDEO_AU_CODE,
                                        TIME_STAMP_INFO, STREAM_RESET_CODE, TIME_STAMP_INFO, VIDEO_AU_CODE));
  ASSERT_EQ(stream.units.size(), 3u);
  // The same picture again costs little unless it stands on its own.
  EXPECT_GT(stream.units[2].length, stream.units[1].length * 4);
  EXPECT_THAT(warnings, ElementsAre(HasSubstr("no room")));
  h264OutVideoFree(encoder);
}

TEST(AvcEncoder, FollowsTheFrameRateWithoutTimestamps) {
  h264_v_settings settings = defaults();
  settings.frame_rate = 50;
  h264venc_tt* encoder = h264OutVideoNew(nullptr, &settings, 0, -1, 0, 0);
  Stream stream(1 << 20);
  h264OutVideoInit(encoder, &stream.table, 0, nullptr);
  for (uint32_t number = 0; number < 3; ++number) Picture(number).put(encoder);
  ASSERT_EQ(stream.units.size(), 3u);
  EXPECT_EQ(stream.units[2].PTS, 2 * 27000000 / 50);
  EXPECT_EQ(stream.units[2].DTS, stream.units[2].PTS);
  h264OutVideoFree(encoder);
}

TEST(AvcEncoder, TakesTimesOfAnySize) {
  const h264_v_settings settings = defaults();
  h264venc_tt* encoder = h264OutVideoNew(nullptr, &settings, 0, -1, 0, 0);
  Stream stream(1 << 20);
  h264OutVideoInit(encoder, &stream.table, 0, nullptr);
  for (int64_t time : {INT64_MAX, INT64_MIN, int64_t{0}, INT64_MAX, INT64_MAX}) {
    mc_sample_info_struct_t info{time, time, 0, 0};
    const mc_enc_option_t options[] = {{EXT_OPT_PARAM_TIMESTAMPS, &info}, {EXT_OPT_END, nullptr}};
    EXPECT_EQ(Picture(1).put(encoder, options), 0);
  }
  EXPECT_EQ(stream.units.size(), 5u);
  h264OutVideoFree(encoder);
}

TEST(AvcEncoder, WritesTheUnitsBehindOneThatFindsNoRoomAtTheEnd) {
  const mc_callbacks_t callbacks = makeCallbacks();
  h264_v_settings settings = defaults();
  settings.frame_rate = 0.05;
  settings.reordering_delay = 4;
  EXPECT_EQ(h264OutVideoChkSettings(&callbacks, &settings, 3, nullptr), 0);
  h264venc_tt* encoder = h264OutVideoNew(&callbacks, &settings, 0, -1, 0, 0);
  Stream stream(1 << 20);
  ASSERT_EQ(h264OutVideoInit(encoder, &stream.table, 0, nullptr), 0);
  for (uint32_t number = 0; number < 12; ++number) Picture(number).put(encoder);
  const size_t written = stream.units.size();
  ASSERT_LT(written, 10u);
  stream.refusals = 1;
  EXPECT_EQ(h264OutVideoDone(encoder, 0), 2);
  EXPECT_EQ(stream.units.size(), 11u);
  EXPECT_EQ(stream.units[10].DTS - stream.units[9].DTS, int64_t{27000000} * 20);
  h264OutVideoFree(encoder);
}

// Under 10 kbit/s a tenth of a second is less than the kilobit in which the buffer is counted.
TEST(AvcEncoder, LimitsTheBufferAtTheLowestRates) {
  qvs::mc::AvcBufferGrowth growth;
  growth.restart(5000);
  int32_t last = 0;
  for (int picture = 0; picture < 600; ++picture) {
    growth.grow();
    const int32_t limit = growth.limit(11);
    EXPECT_GE(limit, std::max(last, 1));
    EXPECT_LE(limit, 11);
    last = limit;
  }
  EXPECT_EQ(last, 11);
}

}  // namespace

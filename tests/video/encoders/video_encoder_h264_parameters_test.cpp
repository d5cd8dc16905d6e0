#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "contract/ParameterType.h"
#include "H264EncoderUnderTest.h"

namespace qvs {
namespace {

using test::H264EncoderUnderTest;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t kFirst = VideoEncoderH264::kFirstKey;
constexpr uint32_t kCount = VideoEncoderH264::kKeyCount;
constexpr uint32_t kMaxFrameSize = 10033;
constexpr uint32_t kQuantStrength = 10116;
constexpr uint32_t kIntra8x8List = 10127;

/// Fields by key, from the first on; "-" where a key is no integer or array field of the library's.
constexpr const char* kFields =
    "profile_id level_id idr_interval reordering_delay interlace_mode def_horizontal_size "
    "def_vertical_size frame_rate num_reference_frames search_range max_l0_active max_l1_active quant_pI "
    "quant_pP quant_pB bit_rate_mode bit_rate_buffer_size bit_rate max_bit_rate inter_search_shape "
    "entropy_coding_mode use_hadamard_transform sar_width sar_height video_format num_units_in_tick "
    "time_scale vbv_buffer_fullness vbv_buffer_fullness_trg vbv_buffer_units cpb_removal_delay "
    "bit_rate_scale cpb_size_scale max_frame_size hrd_maintain min_frame_size hrd_low_delay "
    "smooth_factor use_deblocking_filter deblocking_alphaC0_offset deblocking_beta_offset "
    "adaptive_deblocking video_type video_pulldown_flag overscan_appropriate_flag stream_type "
    "bit_depth_luma bit_depth_chroma chroma_format write_au_delimiters write_seq_end_code "
    "write_timestamps timestamp_offset drop_frame_timecode write_single_sei_per_nalu write_seq_par_set "
    "write_pic_par_set log2_max_poc log2_max_frame_num pic_order_cnt_type pic_order_present_flag "
    "fixed_frame_rate frame_based_timing vcsd_mode slice_arg b_slice_reference b_slice_pyramid cb_offset "
    "cr_offset me_subpel_mode me_weighted_p_mode me_weighted_b_mode enable_fast_intra_decisions "
    "enable_fast_inter_decisions pic_ar_x pic_ar_y calc_quality cpu_opt num_threads live_mode buffering "
    "min_quant max_quant max_slice_size constrained_slices encoding_buffering low_delay air_mode "
    "detach_thread constrained_intra_pred air_split_frequency air_qp_offset min_idr_interval "
    "adaptive_b_frames idr_frequency field_order fixed_i_position isolated_gops hierar_p_frames "
    "fast_multi_ref_me fast_sub_block_me allow_out_of_pic_mvs constrained_ref_list chroma_me "
    "enable_intra_big enable_intra_8x8 enable_intra_4x4 enable_intra_pcm enable_inter_big "
    "enable_inter_8x8 enable_inter_4x4 enable_inter_pcm fast_rd_optimization quant_mode grain_mode "
    "grain_opt_strength adaptive_quant_strength denoise_strength_y denoise_strength_c black_norm_level "
    "pulse_reduction intra_y_4x4_scaling_list intra_cb_4x4_scaling_list intra_cr_4x4_scaling_list "
    "inter_y_4x4_scaling_list inter_cb_4x4_scaling_list inter_cr_4x4_scaling_list "
    "intra_y_8x8_scaling_list inter_y_8x8_scaling_list - - - extended_sar vui_presentation - - "
    "constraint_set3_flag constraint_set4_flag constraint_set5_flag";

uint32_t arrayLength(uint32_t key) {
  if (key == 10033 || key == 10035) return 4;
  if (key == kQuantStrength) return 8;
  if (key >= 10121 && key <= 10126) return 16;
  return key == 10127 || key == 10128 ? 64 : 0;
}

TEST(VideoEncoderH264Parameters, TellTheirTypes) {
  VideoEncoderH264 encoder;
  for (uint32_t key = kFirst; key < kFirst + kCount; ++key) {
    uint32_t length = 7;
    const uint32_t type = encoder.getParameterValueType(key, &length);
    EXPECT_EQ(length, arrayLength(key)) << key;
    EXPECT_EQ(type, key == 10007  ? kParameterDouble
                    : length != 0 ? kParameterLongArray
                                  : kParameterLong)
        << key;
    EXPECT_EQ(encoder.getParameterValueType(key, nullptr), type);
  }
  for (uint32_t key : {0u, 9999u, 10139u, 10199u, 10204u, 0xFFFFFFFFu}) {
    uint32_t length = 7;
    int64_t value = 5;
    EXPECT_EQ(encoder.getParameterValueType(key, &length), kParameterUnknown) << key;
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(encoder.setParameterValue(key, int64_t{5}), 0u);
    EXPECT_EQ(encoder.setParameterValue(key, 5.0), 0u);
    EXPECT_EQ(encoder.setParameterValue(key, &value, 1), 0u);
    encoder.getParameterValue(key, &value);
    EXPECT_EQ(value, 0);
  }
}

TEST(VideoEncoderH264Parameters, ReachTheFieldOfTheirKeyAndAreRepairedByName) {
  constexpr int64_t kUnservable = -7777777;
  std::istringstream fields(kFields);
  std::string field;
  uint32_t key = kFirst;
  for (; fields >> field; ++key) {
    if (field == "-" || arrayLength(key) != 0 || key == 10007) continue;
    H264EncoderUnderTest t(64, 64);
    t.set(key, kUnservable);
    testing::internal::CaptureStdout();
    t.encoder.applyParameters();
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_THAT(printed, HasSubstr("H.264 encoder: " + field + " can't be -7777777, ")) << key;
    EXPECT_THAT(printed, HasSubstr(", " + std::to_string(t.get(key)) + " is taken")) << key;
    EXPECT_EQ(t.encoder.initialize(), 0u) << key;
  }
  EXPECT_EQ(key, kFirst + kCount);
}

TEST(VideoEncoderH264Parameters, PassTheDefaultsUnchangedAtEverySpeed) {
  for (int64_t level = -1; level <= 15; ++level) {
    H264EncoderUnderTest t(64, 64);
    t.set(VideoEncoderH264::kKeyPerformance, level);
    t.encoder.applyParameters();
    EXPECT_THAT(t.logLines(),
                ElementsAre("VideoEncoderH264.initialize[{context}]: h264OutVideoChkSettings result: 0"))
        << level;
    EXPECT_EQ(t.get(VideoEncoderH264::kKeyPerformance), level);
  }
}

TEST(VideoEncoderH264Parameters, AreReadBackFromTheSettingsInForce) {
  struct Row {
    uint32_t key;
    int64_t value;
  };
  constexpr Row kServed[] = {{10000, 1}, {10001, 31}, {10002, 50}, {10003, 3},  {10008, 4},   {10009, 24},
                             {10019, 2}, {10020, 0},  {10022, 4},  {10024, 2},  {10034, 1},   {10039, -3},
                             {10044, 1}, {10051, 1},  {10064, 3},  {10067, -2}, {10069, 6},   {10070, 0},
                             {10078, 2}, {10080, 10}, {10081, 12}, {10082, 40}, {10083, 900}, {10089, 1},
                             {10092, 7}, {10106, 0},  {10117, 80}, {10134, 4},  {10135, 4},   {10131, 0}};
  H264EncoderUnderTest t(320, 240);
  t.encoder.applyParameters();
  t.logLines();
  t.set(10023, 3);
  t.set(10068, -2);
  for (const Row& row : kServed) {
    EXPECT_NE(t.get(row.key), row.value) << row.key;
    t.set(row.key, row.value);
  }
  t.encoder.setParameterValue(10007, 12.5);
  ASSERT_EQ(t.start(), 0u);
  EXPECT_THAT(t.logLines(), ElementsAre(HasSubstr("result: 0")));
  for (const Row& row : kServed) EXPECT_EQ(t.get(row.key), row.value) << row.key;
  double rate = 0;
  t.encoder.getParameterValue(10007, &rate);
  EXPECT_EQ(rate, 12.5);
  EXPECT_EQ(t.get(10017), 2000000);  // not by key
  EXPECT_EQ(t.encoder.getSettings().min_quant, 12);
  EXPECT_EQ(t.encoder.getSettings().colorimetry.color_primaries, 1);
}

TEST(VideoEncoderH264Parameters, MarkTheRatesOfABitRate) {
  H264EncoderUnderTest t(64, 64, 850001);
  t.encoder.applyParameters();
  EXPECT_EQ(t.get(VideoEncoderH264::kKeyBitRateMode), 2);
  EXPECT_EQ(t.get(VideoEncoderH264::kKeyBitRate), 850001);
  EXPECT_EQ(t.get(VideoEncoderH264::kKeyMaxBitRate), 935001);
  EXPECT_EQ(t.get(VideoEncoderH264::kKeyBitRateBufferSize), 1870002);
  H264EncoderUnderTest huge(64, 64, 4000000000u);
  ASSERT_EQ(huge.start(), 0u);
  EXPECT_EQ(huge.get(VideoEncoderH264::kKeyBitRate), std::numeric_limits<int32_t>::max());
}

TEST(VideoEncoderH264Parameters, ConvertNumbersOfTheOtherType) {
  H264EncoderUnderTest t(64, 64);
  t.set(10007, 50);
  t.encoder.setParameterValue(10008, 2.0);
  t.encoder.setParameterValue(10009, std::nan(""));
  t.encoder.applyParameters();
  EXPECT_EQ(t.encoder.getSettings().frame_rate, 50.0);
  EXPECT_EQ(t.get(10008), 2);
  EXPECT_EQ(t.get(10009), 16);
}

TEST(VideoEncoderH264Parameters, CutArraysToTheirField) {
  H264EncoderUnderTest t(64, 64);
  std::vector<int64_t> values(100);
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int64_t>(i) + 16 + 256;
  t.encoder.setParameterValue(kIntra8x8List, values.data(), 100);
  ASSERT_EQ(t.start(), 0u);
  std::vector<int64_t> read(70, -1);
  uint32_t count = 70;
  t.encoder.getParameterValue(kIntra8x8List, read.data(), &count);
  EXPECT_EQ(count, 64u);
  EXPECT_EQ(read[0], 16);
  EXPECT_EQ(read[63], 79);
  EXPECT_EQ(read[64], -1);
  count = 3;
  std::fill(read.begin(), read.end(), -1);
  t.encoder.getParameterValue(kIntra8x8List, read.data(), &count);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(read[2], 18);
  EXPECT_EQ(read[3], -1);
  EXPECT_EQ(t.get(kIntra8x8List), 0);  // no scalar
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  EXPECT_EQ(test::play(t.encode(frame, 3)).size(), 3u);
}

TEST(VideoEncoderH264Parameters, BoundTheCountsThatAHostClaims) {
  for (int64_t claimed : {int64_t{-1}, int64_t{5}, std::numeric_limits<int64_t>::max()}) {
    for (uint32_t key = kFirst; key < kFirst + kCount; ++key) {
      if (arrayLength(key) == 0) continue;
      H264EncoderUnderTest t(64, 64);
      t.set(key, claimed);
      EXPECT_EQ(t.start(), 0u) << key;
    }
  }
  H264EncoderUnderTest t(64, 64);
  int64_t values[4] = {100000, 0, -1, 3};
  uint32_t count = 4;
  EXPECT_EQ(t.encoder.setParameterValue(kMaxFrameSize, static_cast<int64_t*>(nullptr), 4), 0u);
  EXPECT_EQ(t.encoder.setParameterValue(kMaxFrameSize, values, 0), 0u);
  EXPECT_EQ(t.encoder.getParameterValue(kMaxFrameSize, values, nullptr), 0u);
  EXPECT_EQ(t.encoder.getParameterValue(kMaxFrameSize, static_cast<int64_t*>(nullptr), &count), 0u);
  EXPECT_EQ(count, 0u);
  t.encoder.setParameterValue(kMaxFrameSize, values, 4);
  testing::internal::CaptureStdout();
  t.encoder.applyParameters();
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("max_frame_size"));
}

TEST(VideoEncoderH264Parameters, AreTakenAsDescribedInTheStream) {
  H264EncoderUnderTest t(352, 288);
  t.set(10000, 1);
  t.set(10001, 30);
  t.set(10022, 12);
  t.set(10023, 11);
  t.set(10135, COLOR_DESCRIPTION_BT601_625);
  ASSERT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(352, 288, kFourCCYV12);
  const test::H264Shape shape = test::shapeOf(t.encode(frame, 2));
  EXPECT_EQ(shape.profile, 77);
  EXPECT_EQ(shape.level, 30);
  EXPECT_EQ(shape.sarWidth, 12);
  EXPECT_EQ(shape.sarHeight, 11);
  EXPECT_EQ(shape.primaries, 5);
  EXPECT_EQ(shape.transfer, 6);
  EXPECT_EQ(shape.matrix, 5);
  EXPECT_NEAR(shape.frameRate, 25, 0.001);
}

constexpr uint32_t kCodePoints = VideoEncoderH264::kKeyColorCodePoints;

test::H264Shape shapeOfColors(H264EncoderUnderTest& t) {
  EXPECT_EQ(t.start(), 0u);
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 64, kFourCCYV12);
  return test::shapeOf(t.encode(frame, 1));
}

TEST(VideoEncoderH264Parameters, TellColorsThatNoDescriptionNames) {
  H264EncoderUnderTest t(64, 64);
  int64_t phone[] = {5, 6, 6, 2};
  t.encoder.setParameterValue(kCodePoints, phone, 4);
  for (uint32_t key : {10134, 10135}) t.set(key, COLOR_DESCRIPTION_BT709);
  const test::H264Shape shape = shapeOfColors(t);
  EXPECT_THAT((std::vector{shape.primaries, shape.transfer, shape.matrix, shape.range}),
              ElementsAre(5, 6, 6, 2));
  EXPECT_THAT(t.logLines(), ElementsAre(HasSubstr("result: 0")));
  int64_t read[4] = {};
  uint32_t count = 4;
  t.encoder.getParameterValue(kCodePoints, read, &count);
  EXPECT_THAT(read, ElementsAre(5, 6, 6, 2));
  EXPECT_EQ(t.encoder.getParameterValueType(kCodePoints, &count), kParameterLongArray);
  EXPECT_EQ(count, 4u);
}

TEST(VideoEncoderH264Parameters, LeaveColorsOpenThatCanNotBe) {
  H264EncoderUnderTest t(64, 64);
  int64_t impossible[] = {99, 1, -1, 7, 1000};
  t.encoder.setParameterValue(kCodePoints, impossible, 5);
  testing::internal::CaptureStdout();
  const test::H264Shape shape = shapeOfColors(t);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("colorimetry"));
  EXPECT_THAT((std::vector{shape.primaries, shape.transfer, shape.matrix}), ElementsAre(2, 1, 2));
  EXPECT_NE(shape.range, 2);
}

}  // namespace
}  // namespace qvs

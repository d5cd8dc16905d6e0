// The settings record: defaults by preset and profile, and its translation for libx264.
#include "avc/AvcSettings.h"

#include <algorithm>
#include <cmath>
#include <thread>

#include "avc/AvcColor.h"
#include "avc/AvcScalingLists.h"
#include "avc/AvcSettingTable.h"
#include "avc/AvcSpeed.h"

namespace qvs::mc {

namespace {

constexpr double kDefaultFrameRate = 30.0;

void presetOf(const h264_v_settings& settings, x264_param_t& x264) {
  x264_param_default_preset(&x264, AvcSpeed::ofLevel(settings.speed_level).preset, nullptr);
}

const char* profileName(int32_t profile) {
  if (profile == H264_BASELINE) return "baseline";
  return profile == H264_MAIN ? "main" : "high";
}

int32_t profileOfType(int32_t videoType) {
  if (videoType == H264_TYPE_BASELINE) return H264_BASELINE;
  return videoType == H264_TYPE_MAIN ? H264_MAIN : H264_HIGH;
}

void storeFrameRate(const h264_v_settings& settings, x264_param_t& x264) {
  if (settings.num_units_in_tick > 0 && settings.time_scale > 0) {
    x264.i_fps_num = static_cast<uint32_t>(settings.time_scale);
    x264.i_fps_den = static_cast<uint32_t>(settings.num_units_in_tick) * 2;
    return;
  }
  // Rates of the NTSC family are told rounded.
  const double rate = settings.frame_rate;
  const double whole = std::round(rate * 1.001);
  const bool ntsc = std::abs(rate - std::round(rate)) > 0.005 && std::abs(whole * 1000 / 1001 - rate) < 0.005;
  x264.i_fps_num = static_cast<uint32_t>(std::llround((ntsc ? whole : rate) * 1000));
  x264.i_fps_den = ntsc ? 1001 : 1000;
}

void storeDelay(const h264_v_settings& settings, x264_param_t& x264) {
  const auto cores = static_cast<int32_t>(std::max(1u, std::thread::hardware_concurrency()));
  x264.i_threads = settings.num_threads != 0 ? settings.num_threads : std::min(cores, 64);
  // Slices side by side hold no picture back; pictures side by side do.
  x264.b_sliced_threads = settings.encoding_buffering == 0 && x264.i_threads > 1;
  x264.i_sync_lookahead = 0;
  x264.rc.i_lookahead = settings.buffering;
  x264.rc.b_mb_tree = x264.rc.b_mb_tree != 0 && settings.buffering > 0;
}

void storeQuantizers(const h264_v_settings& settings, x264_param_t& x264) {
  const auto factor = [](int32_t from, int32_t to) {
    return std::exp2(static_cast<float>(to - from) / 6.0f);
  };
  x264.rc.i_rc_method = X264_RC_CQP;
  x264.rc.i_qp_constant = settings.quant_pP;
  x264.rc.f_ip_factor = factor(settings.quant_pI, settings.quant_pP);
  x264.rc.f_pb_factor = factor(settings.quant_pP, settings.quant_pB);
}

void storeAspectRatio(const h264_v_settings& settings, x264_param_t& x264) {
  if (settings.sar_width != 0 || settings.pic_ar_x == 0 || settings.pic_ar_y == 0) return;
  x264.vui.i_sar_width = settings.pic_ar_x * settings.def_vertical_size;
  x264.vui.i_sar_height = settings.pic_ar_y * settings.def_horizontal_size;
}

void storeReferences(const h264_v_settings& settings, x264_param_t& x264) {
  x264.i_bframe_pyramid = settings.b_slice_pyramid != 0     ? X264_B_PYRAMID_NORMAL
                          : settings.b_slice_reference != 0 ? X264_B_PYRAMID_STRICT
                                                            : X264_B_PYRAMID_NONE;
  if (settings.enable_intra_8x8 != 0) x264.analyse.b_transform_8x8 = 1;
}

void storeAdaptiveQuantizer(const h264_v_settings& settings, x264_param_t& x264) {
  const int32_t percent = settings.adaptive_quant_strength[0];
  if (percent == 0) {
    x264.rc.i_aq_mode = X264_AQ_NONE;
    return;
  }
  if (x264.rc.i_aq_mode == X264_AQ_NONE) x264.rc.i_aq_mode = X264_AQ_VARIANCE;
  x264.rc.f_aq_strength = static_cast<float>(percent) / 100;
}

}  // namespace

void AvcSettings::fillDefaults(h264_v_settings& settings, int32_t videoType, int32_t width, int32_t height,
                               int32_t interlaceMode) {
  settings = {};
  for (const AvcSetting& setting : avcSettings()) settings.*setting.field = setting.fallback;
  settings.frame_rate = kDefaultFrameRate;
  settings.video_type = videoType;
  settings.profile_id = profileOfType(videoType);
  settings.def_horizontal_size = width & ~1;
  settings.def_vertical_size = height & ~1;
  settings.interlace_mode = interlaceMode;
  colorimetryOf(COLOR_DESCRIPTION_DEFAULT, settings.source_colorimetry);
  colorimetryOf(COLOR_DESCRIPTION_DEFAULT, settings.colorimetry);
  applyLevel(settings, AvcSpeed::kDefault);
}

void AvcSettings::applyLevel(h264_v_settings& settings, int32_t level) {
  settings.speed_level = std::clamp(level, 0, AvcSpeed::kLast);
  x264_param_t x264;
  presetOf(settings, x264);
  for (const AvcSetting& setting : avcSettings()) {
    if (setting.load != nullptr) settings.*setting.field = setting.load(x264);
  }
  const float strength = x264.rc.i_aq_mode != X264_AQ_NONE ? x264.rc.f_aq_strength : 0;
  settings.adaptive_quant_strength[0] = static_cast<int8_t>(std::lround(strength * 100));
}

bool AvcSettings::toX264(const h264_v_settings& settings, x264_param_t& x264) {
  presetOf(settings, x264);
  for (const AvcSetting& setting : avcSettings()) {
    if (setting.store != nullptr) setting.store(x264, settings.*setting.field);
  }
  storeFrameRate(settings, x264);
  storeDelay(settings, x264);
  storeRates(settings, 1.0, x264);
  storeAspectRatio(settings, x264);
  storeReferences(settings, x264);
  storeAdaptiveQuantizer(settings, x264);
  storeColorimetry(x264, settings);
  AvcScalingLists::store(settings, x264);
  x264.i_level_idc = settings.level_id != H264_LEVEL_AUTO ? settings.level_id : -1;
  x264.i_csp = X264_CSP_I420;
  x264.b_vfr_input = 0;
  // The rate control would count headers as spent, which on a short stream of a low rate it takes seconds to save.
  x264.b_repeat_headers = settings.buffering == 0;
  x264.b_annexb = 0;  // four bytes ahead of every unit, which start codes then take
  return x264_param_apply_profile(&x264, profileName(settings.profile_id)) == 0;
}

bool AvcSettings::isSteerable(const h264_v_settings& settings) {
  if (settings.bit_rate_mode == H264_CQT || settings.bit_rate_buffer_size == 0) return false;
  const int64_t rate = settings.bit_rate;
  return settings.bit_rate_mode == H264_CBR ||
         (settings.max_bit_rate > 0 && settings.max_bit_rate <= rate + rate / 4);
}

void AvcSettings::storeRates(const h264_v_settings& settings, double rateScale, x264_param_t& x264) {
  if (settings.bit_rate_mode == H264_CQT) return storeQuantizers(settings, x264);
  const auto kilobits = [](double bits) { return static_cast<int>(std::clamp(bits / 1000, 1.0, 2000000.0)); };
  const bool steerable = isSteerable(settings);
  const int32_t peak = steerable ? settings.bit_rate : settings.max_bit_rate;
  const bool buffered = peak > 0 && settings.bit_rate_buffer_size > 0;
  x264.rc.i_rc_method = X264_RC_ABR;
  x264.rc.i_bitrate = kilobits(settings.bit_rate * rateScale);
  x264.rc.i_vbv_max_bitrate = buffered ? kilobits(peak * rateScale) : 0;
  x264.rc.i_vbv_buffer_size = buffered ? kilobits(settings.bit_rate_buffer_size) : 0;
  const int hrd = settings.bit_rate_mode == H264_CBR ? X264_NAL_HRD_CBR : X264_NAL_HRD_VBR;
  x264.i_nal_hrd = settings.hrd_maintain != 0 && buffered ? hrd : X264_NAL_HRD_NONE;
}

}  // namespace qvs::mc

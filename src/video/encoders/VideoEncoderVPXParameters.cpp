// The VP8 and VP9 encoder's parameter table and its access.
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {

const ParameterRow<VideoEncoderVPX>* VideoEncoderVPX::parameterOf(uint32_t key) {
  using This = VideoEncoderVPX;
  using Config = vpx_codec_enc_cfg_t;
  static constexpr ParameterRow<This> kRows[] = {
      parameterField<This, &This::vpxConfig, &Config::g_usage>(100000),
      parameterField<This, &This::vpxConfig, &Config::g_threads>(100001),
      parameterField<This, &This::vpxConfig, &Config::g_profile>(100002),
      parameterField<This, &This::vpxConfig, &Config::g_w>(100003),
      parameterField<This, &This::vpxConfig, &Config::g_h>(100004),
      parameterField<This, &This::vpxConfig, &Config::g_bit_depth>(100005),
      parameterField<This, &This::vpxConfig, &Config::g_input_bit_depth>(100006),
      parameterField<This, &This::vpxConfig, &Config::g_timebase, &vpx_rational_t::num>(100007),
      parameterField<This, &This::vpxConfig, &Config::g_timebase, &vpx_rational_t::den>(100008),
      parameterField<This, &This::vpxConfig, &Config::g_error_resilient>(100009),
      parameterField<This, &This::vpxConfig, &Config::g_pass>(100010),
      parameterField<This, &This::vpxConfig, &Config::g_lag_in_frames>(100011),
      parameterField<This, &This::vpxConfig, &Config::rc_dropframe_thresh>(100012),
      parameterField<This, &This::vpxConfig, &Config::rc_resize_allowed>(100013),
      parameterField<This, &This::vpxConfig, &Config::rc_scaled_width>(100014),
      parameterField<This, &This::vpxConfig, &Config::rc_scaled_height>(100015),
      parameterField<This, &This::vpxConfig, &Config::rc_resize_up_thresh>(100016),
      parameterField<This, &This::vpxConfig, &Config::rc_resize_down_thresh>(100017),
      parameterField<This, &This::vpxConfig, &Config::rc_end_usage>(100018),
      parameterField<This, &This::vpxConfig, &Config::rc_target_bitrate>(100019),
      parameterField<This, &This::vpxConfig, &Config::rc_min_quantizer>(100020),
      parameterField<This, &This::vpxConfig, &Config::rc_max_quantizer>(100021),
      parameterField<This, &This::vpxConfig, &Config::rc_undershoot_pct>(100022),
      parameterField<This, &This::vpxConfig, &Config::rc_overshoot_pct>(100023),
      parameterField<This, &This::vpxConfig, &Config::rc_buf_sz>(100024),
      parameterField<This, &This::vpxConfig, &Config::rc_buf_initial_sz>(100025),
      parameterField<This, &This::vpxConfig, &Config::rc_buf_optimal_sz>(100026),
      parameterField<This, &This::vpxConfig, &Config::rc_2pass_vbr_bias_pct>(100027),
      parameterField<This, &This::vpxConfig, &Config::rc_2pass_vbr_minsection_pct>(100028),
      parameterField<This, &This::vpxConfig, &Config::rc_2pass_vbr_maxsection_pct>(100029),
      parameterField<This, &This::vpxConfig, &Config::kf_mode>(100030),
      parameterField<This, &This::vpxConfig, &Config::kf_min_dist>(100031),
      parameterField<This, &This::vpxConfig, &Config::kf_max_dist>(100032),
      {kKeyCpuUsed, kParameterLong, 0,
       [](const This& encoder, uint32_t) -> int64_t { return encoder.cpuUsedInForce(); },
       [](This& encoder, uint32_t, std::span<const int64_t> values) {
         encoder.cpuUsed = static_cast<int32_t>(values[0]);
         encoder.cpuUsedSet = 1;
       }},
      parameterField<This, &This::deadline>(kKeyDeadline),
      parameterField<This, &This::threadCount>(kKeyThreadCount),
      parameterField<This, &This::asynchronous>(kKeyAsynchronous),
      parameterField<This, &This::staticThreshold>(kKeyStaticThreshold),
      parameterField<This, &This::colorSpace>(kKeyColorSpace),
      parameterField<This, &This::colorRange>(kKeyColorRange),
  };
  return findParameter(kRows, key);
}

}  // namespace qvs

// The VP8 and VP9 encoder's parameter table and its access.
#include <cstring>
#include <type_traits>

#include "platform/Status.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {

/// One integer key: how its value is read and written.
struct VideoEncoderVPX::Parameter {
  uint32_t key;
  int64_t (*get)(const VideoEncoderVPX&);
  void (*set)(VideoEncoderVPX&, int64_t);

  /// Field of the libvpx configuration. Copied as bytes, since hosts may send numbers that an enumeration
  /// lacks.
  template <auto Member>
  static constexpr Parameter config(uint32_t key) {
    using Field = std::remove_reference_t<decltype(std::declval<vpx_codec_enc_cfg_t>().*Member)>;
    static_assert(sizeof(Field) == sizeof(uint32_t));
    return {key,
            [](const VideoEncoderVPX& encoder) -> int64_t {
              uint32_t bits = 0;
              std::memcpy(&bits, &(encoder.vpxConfig.*Member), sizeof bits);
              return bits;
            },
            [](VideoEncoderVPX& encoder, int64_t value) {
              const auto bits = static_cast<uint32_t>(value);
              std::memcpy(&(encoder.vpxConfig.*Member), &bits, sizeof bits);
            }};
  }

  template <auto Member>
  static constexpr Parameter timebase(uint32_t key) {
    return {key,
            [](const VideoEncoderVPX& encoder) -> int64_t { return encoder.vpxConfig.g_timebase.*Member; },
            [](VideoEncoderVPX& encoder, int64_t value) {
              encoder.vpxConfig.g_timebase.*Member = static_cast<int>(value);
            }};
  }

  /// Field of the encoder itself.
  template <auto Member>
  static constexpr Parameter own(uint32_t key) {
    using Field = std::remove_reference_t<decltype(std::declval<VideoEncoderVPX>().*Member)>;
    return {key, [](const VideoEncoderVPX& encoder) { return static_cast<int64_t>(encoder.*Member); },
            [](VideoEncoderVPX& encoder, int64_t value) { encoder.*Member = static_cast<Field>(value); }};
  }

  static const Parameter* find(uint32_t key);
};

const VideoEncoderVPX::Parameter* VideoEncoderVPX::Parameter::find(uint32_t key) {
  using Config = vpx_codec_enc_cfg_t;
  static constexpr Parameter kParameters[] = {
      config<&Config::g_usage>(100000),
      config<&Config::g_threads>(100001),
      config<&Config::g_profile>(100002),
      config<&Config::g_w>(100003),
      config<&Config::g_h>(100004),
      config<&Config::g_bit_depth>(100005),
      config<&Config::g_input_bit_depth>(100006),
      timebase<&vpx_rational_t::num>(100007),
      timebase<&vpx_rational_t::den>(100008),
      config<&Config::g_error_resilient>(100009),
      config<&Config::g_pass>(100010),
      config<&Config::g_lag_in_frames>(100011),
      config<&Config::rc_dropframe_thresh>(100012),
      config<&Config::rc_resize_allowed>(100013),
      config<&Config::rc_scaled_width>(100014),
      config<&Config::rc_scaled_height>(100015),
      config<&Config::rc_resize_up_thresh>(100016),
      config<&Config::rc_resize_down_thresh>(100017),
      config<&Config::rc_end_usage>(100018),
      config<&Config::rc_target_bitrate>(100019),
      config<&Config::rc_min_quantizer>(100020),
      config<&Config::rc_max_quantizer>(100021),
      config<&Config::rc_undershoot_pct>(100022),
      config<&Config::rc_overshoot_pct>(100023),
      config<&Config::rc_buf_sz>(100024),
      config<&Config::rc_buf_initial_sz>(100025),
      config<&Config::rc_buf_optimal_sz>(100026),
      config<&Config::rc_2pass_vbr_bias_pct>(100027),
      config<&Config::rc_2pass_vbr_minsection_pct>(100028),
      config<&Config::rc_2pass_vbr_maxsection_pct>(100029),
      config<&Config::kf_mode>(100030),
      config<&Config::kf_min_dist>(100031),
      config<&Config::kf_max_dist>(100032),
      {kKeyCpuUsed, [](const VideoEncoderVPX& encoder) -> int64_t { return encoder.cpuUsedInForce(); },
       [](VideoEncoderVPX& encoder, int64_t value) {
         encoder.cpuUsed = static_cast<int32_t>(value);
         encoder.cpuUsedSet = 1;
       }},
      own<&VideoEncoderVPX::deadline>(kKeyDeadline),
      own<&VideoEncoderVPX::threadCount>(kKeyThreadCount),
      own<&VideoEncoderVPX::asynchronous>(kKeyAsynchronous),
      own<&VideoEncoderVPX::staticThreshold>(kKeyStaticThreshold),
      own<&VideoEncoderVPX::colorSpace>(kKeyColorSpace),
      own<&VideoEncoderVPX::colorRange>(kKeyColorRange),
  };
  for (const Parameter& parameter : kParameters) {
    if (parameter.key == key) return &parameter;
  }
  return nullptr;
}

uint32_t VideoEncoderVPX::setParameterValue(uint32_t key, int64_t value) {
  if (const Parameter* parameter = Parameter::find(key)) {
    waitForWorker();
    parameter->set(*this, value);
  }
  return kSuccess;
}

uint32_t VideoEncoderVPX::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  clear(arrayLength);
  return Parameter::find(key) != nullptr ? kParameterLong : kParameterUnknown;
}

uint32_t VideoEncoderVPX::getParameterValue(uint32_t key, int64_t* value) {
  clear(value);
  const Parameter* parameter = Parameter::find(key);
  if (parameter != nullptr && value != nullptr) *value = parameter->get(*this);
  return kSuccess;
}

}  // namespace qvs

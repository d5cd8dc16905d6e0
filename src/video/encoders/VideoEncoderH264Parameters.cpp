// The H.264 encoder's parameter table and its access.
#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>
#include <type_traits>

#include "platform/Status.h"
#include "video/encoders/VideoEncoderH264.h"

namespace qvs {

/// One key: its row, and how what the host gave gets into the settings.
struct VideoEncoderH264::Parameter {
  using S = h264_v_settings;
  using Values = std::span<const int64_t>;

  struct Access {
    ParameterType type;
    uint32_t count;  ///< elements of an array, else 0
    int64_t (*get)(const VideoEncoderH264& encoder, uint32_t element);
    void (*set)(VideoEncoderH264& encoder, uint32_t key, Values values);
    /// Null where the value is no field of the settings.
    void (*apply)(VideoEncoderH264& encoder, uint64_t value);
  };

  constexpr Parameter(uint32_t key, const Access& access)
      : row{key, access.type, access.count, access.get, access.set}, apply(access.apply) {}

  ParameterRow<VideoEncoderH264> row;
  void (*apply)(VideoEncoderH264& encoder, uint64_t value);

  static void keep(VideoEncoderH264& encoder, uint32_t key, Values values) { encoder.mark(key, values[0]); }

  template <auto Member>
  static constexpr Access integer() {
    return {kParameterLong, 0,
            [](const VideoEncoderH264& encoder, uint32_t) -> int64_t { return encoder.params.*Member; }, keep,
            [](VideoEncoderH264& encoder, uint64_t value) {
              encoder.v_settings->*Member = static_cast<int32_t>(value);
            }};
  }

  template <auto Member>
  static constexpr Access real() {
    return {kParameterDouble, 0,
            [](const VideoEncoderH264& encoder, uint32_t) {
              return std::bit_cast<int64_t>(encoder.params.*Member);
            },
            keep,
            [](VideoEncoderH264& encoder, uint64_t value) {
              encoder.v_settings->*Member = std::bit_cast<double>(value);
            }};
  }

  template <auto Member>
  static constexpr Access array() {
    using Array = std::remove_reference_t<decltype(std::declval<S>().*Member)>;
    using Element = std::remove_extent_t<Array>;
    constexpr auto kCount = static_cast<uint32_t>(std::extent_v<Array>);
    return {kParameterLongArray, kCount,
            [](const VideoEncoderH264& encoder, uint32_t element) -> int64_t {
              return (encoder.params.*Member)[element];
            },
            [](VideoEncoderH264& encoder, uint32_t key, Values values) {
              const auto kept = values.first(std::min<size_t>(values.size(), kCount));
              std::transform(kept.begin(), kept.end(), std::begin(encoder.paramsUser.*Member),
                             [](int64_t value) { return static_cast<Element>(value); });
              encoder.mark(key, static_cast<int64_t>(values.size()));
            },
            [](VideoEncoderH264& encoder, uint64_t value) {
              const auto count = std::min<uint64_t>(value, kCount);
              std::copy_n(std::begin(encoder.paramsUser.*Member), count,
                          std::begin(encoder.v_settings->*Member));
            }};
  }

  /// The value is a description's number; it is read back as such.
  template <auto Member, uint32_t Key>
  static constexpr Access color() {
    return {kParameterLong, 0,
            [](const VideoEncoderH264& encoder, uint32_t) {
              return encoder.valueOf(Key, COLOR_DESCRIPTION_DEFAULT);
            },
            keep,
            [](VideoEncoderH264& encoder, uint64_t value) {
              set_colorimetry_from_color_description(&(encoder.v_settings->*Member),
                                                     static_cast<int32_t>(value));
            }};
  }

  static constexpr int32_t mc_colorimetry_t::*kCodePoints[] = {
      &mc_colorimetry_t::color_primaries, &mc_colorimetry_t::transfer_characteristics,
      &mc_colorimetry_t::matrix_coefficients, &mc_colorimetry_t::signal_range};

  /// Both color fields at once, which must agree. Elements that aren't given are 0.
  static constexpr Access codePoints() {
    return {kParameterLongArray, static_cast<uint32_t>(std::size(kCodePoints)),
            [](const VideoEncoderH264& encoder, uint32_t element) -> int64_t {
              return encoder.params.colorimetry.*kCodePoints[element];
            },
            [](VideoEncoderH264& encoder, uint32_t key, Values values) {
              const size_t kept = std::min(values.size(), std::size(kCodePoints));
              for (size_t i = 0; i < kept; ++i)
                encoder.paramsUser.colorimetry.*kCodePoints[i] = static_cast<int32_t>(values[i]);
              encoder.mark(key, static_cast<int64_t>(values.size()));
            },
            [](VideoEncoderH264& encoder, uint64_t value) {
              mc_colorimetry_t told{};
              const auto count = std::min<uint64_t>(value, std::size(kCodePoints));
              for (size_t i = 0; i < count; ++i)
                told.*kCodePoints[i] = encoder.paramsUser.colorimetry.*kCodePoints[i];
              encoder.v_settings->source_colorimetry = encoder.v_settings->colorimetry = told;
            }};
  }

  /// The value is the encoder's own, not a field of the settings.
  template <uint32_t Key, int64_t Fallback>
  static constexpr Access own() {
    return {kParameterLong, 0,
            [](const VideoEncoderH264& encoder, uint32_t) { return encoder.valueOf(Key, Fallback); }, keep,
            nullptr};
  }

  /// Any value makes the pictures come out that are held back.
  static constexpr Access flushing() {
    return {kParameterLong, 0,
            [](const VideoEncoderH264& encoder, uint32_t) -> int64_t { return encoder.flushed ? 1 : 0; },
            [](VideoEncoderH264& encoder, uint32_t, Values) { encoder.flush(); }, nullptr};
  }

  /// Place of a key of the table.
  static constexpr uint32_t indexOf(uint32_t key) {
    switch (key) {
      case kKeyColorCodePoints:
        return kKeyCount;
      case kKeyAsynchronous:
        return kKeyCount + 1;
      case kKeyFlush:
        return kKeyCount + 2;
      case kKeyAsynchronousDepth:
        return kKeyCount + 3;
      default:
        return key - kFirstKey < kKeyCount ? key - kFirstKey : kParameterCount;
    }
  }
  static const Parameter (&table())[kParameterCount];
};

const VideoEncoderH264::Parameter (&VideoEncoderH264::Parameter::table())[kParameterCount] {
  static constexpr Parameter kParameters[] = {
      {10000, integer<&S::profile_id>()},
      {10001, integer<&S::level_id>()},
      {10002, integer<&S::idr_interval>()},
      {10003, integer<&S::reordering_delay>()},
      {10004, integer<&S::interlace_mode>()},
      {10005, integer<&S::def_horizontal_size>()},
      {10006, integer<&S::def_vertical_size>()},
      {10007, real<&S::frame_rate>()},
      {10008, integer<&S::num_reference_frames>()},
      {10009, integer<&S::search_range>()},
      {10010, integer<&S::max_l0_active>()},
      {10011, integer<&S::max_l1_active>()},
      {10012, integer<&S::quant_pI>()},
      {10013, integer<&S::quant_pP>()},
      {10014, integer<&S::quant_pB>()},
      {10015, integer<&S::bit_rate_mode>()},
      {10016, integer<&S::bit_rate_buffer_size>()},
      {10017, integer<&S::bit_rate>()},
      {10018, integer<&S::max_bit_rate>()},
      {10019, integer<&S::inter_search_shape>()},
      {10020, integer<&S::entropy_coding_mode>()},
      {10021, integer<&S::use_hadamard_transform>()},
      {10022, integer<&S::sar_width>()},
      {10023, integer<&S::sar_height>()},
      {10024, integer<&S::video_format>()},
      {10025, integer<&S::num_units_in_tick>()},
      {10026, integer<&S::time_scale>()},
      {10027, integer<&S::vbv_buffer_fullness>()},
      {10028, integer<&S::vbv_buffer_fullness_trg>()},
      {10029, integer<&S::vbv_buffer_units>()},
      {10030, integer<&S::cpb_removal_delay>()},
      {10031, integer<&S::bit_rate_scale>()},
      {10032, integer<&S::cpb_size_scale>()},
      {10033, array<&S::max_frame_size>()},
      {10034, integer<&S::hrd_maintain>()},
      {10035, array<&S::min_frame_size>()},
      {10036, integer<&S::hrd_low_delay>()},
      {10037, integer<&S::smooth_factor>()},
      {10038, integer<&S::use_deblocking_filter>()},
      {10039, integer<&S::deblocking_alphaC0_offset>()},
      {10040, integer<&S::deblocking_beta_offset>()},
      {10041, integer<&S::adaptive_deblocking>()},
      {10042, integer<&S::video_type>()},
      {10043, integer<&S::video_pulldown_flag>()},
      {10044, integer<&S::overscan_appropriate_flag>()},
      {10045, integer<&S::stream_type>()},
      {10046, integer<&S::bit_depth_luma>()},
      {10047, integer<&S::bit_depth_chroma>()},
      {10048, integer<&S::chroma_format>()},
      {10049, integer<&S::write_au_delimiters>()},
      {10050, integer<&S::write_seq_end_code>()},
      {10051, integer<&S::write_timestamps>()},
      {10052, integer<&S::timestamp_offset>()},
      {10053, integer<&S::drop_frame_timecode>()},
      {10054, integer<&S::write_single_sei_per_nalu>()},
      {10055, integer<&S::write_seq_par_set>()},
      {10056, integer<&S::write_pic_par_set>()},
      {10057, integer<&S::log2_max_poc>()},
      {10058, integer<&S::log2_max_frame_num>()},
      {10059, integer<&S::pic_order_cnt_type>()},
      {10060, integer<&S::pic_order_present_flag>()},
      {10061, integer<&S::fixed_frame_rate>()},
      {10062, integer<&S::frame_based_timing>()},
      {10063, integer<&S::vcsd_mode>()},
      {10064, integer<&S::slice_arg>()},
      {10065, integer<&S::b_slice_reference>()},
      {10066, integer<&S::b_slice_pyramid>()},
      {10067, integer<&S::cb_offset>()},
      {10068, integer<&S::cr_offset>()},
      {10069, integer<&S::me_subpel_mode>()},
      {10070, integer<&S::me_weighted_p_mode>()},
      {10071, integer<&S::me_weighted_b_mode>()},
      {10072, integer<&S::enable_fast_intra_decisions>()},
      {10073, integer<&S::enable_fast_inter_decisions>()},
      {10074, integer<&S::pic_ar_x>()},
      {10075, integer<&S::pic_ar_y>()},
      {10076, integer<&S::calc_quality>()},
      {10077, integer<&S::cpu_opt>()},
      {10078, integer<&S::num_threads>()},
      {10079, integer<&S::live_mode>()},
      {10080, integer<&S::buffering>()},
      {10081, integer<&S::min_quant>()},
      {10082, integer<&S::max_quant>()},
      {10083, integer<&S::max_slice_size>()},
      {10084, integer<&S::constrained_slices>()},
      {10085, integer<&S::encoding_buffering>()},
      {10086, integer<&S::low_delay>()},
      {10087, integer<&S::air_mode>()},
      {10088, integer<&S::detach_thread>()},
      {10089, integer<&S::constrained_intra_pred>()},
      {10090, integer<&S::air_split_frequency>()},
      {10091, integer<&S::air_qp_offset>()},
      {10092, integer<&S::min_idr_interval>()},
      {10093, integer<&S::adaptive_b_frames>()},
      {10094, integer<&S::idr_frequency>()},
      {10095, integer<&S::field_order>()},
      {10096, integer<&S::fixed_i_position>()},
      {10097, integer<&S::isolated_gops>()},
      {10098, integer<&S::hierar_p_frames>()},
      {10099, integer<&S::fast_multi_ref_me>()},
      {10100, integer<&S::fast_sub_block_me>()},
      {10101, integer<&S::allow_out_of_pic_mvs>()},
      {10102, integer<&S::constrained_ref_list>()},
      {10103, integer<&S::chroma_me>()},
      {10104, integer<&S::enable_intra_big>()},
      {10105, integer<&S::enable_intra_8x8>()},
      {10106, integer<&S::enable_intra_4x4>()},
      {10107, integer<&S::enable_intra_pcm>()},
      {10108, integer<&S::enable_inter_big>()},
      {10109, integer<&S::enable_inter_8x8>()},
      {10110, integer<&S::enable_inter_4x4>()},
      {10111, integer<&S::enable_inter_pcm>()},
      {10112, integer<&S::fast_rd_optimization>()},
      {10113, integer<&S::quant_mode>()},
      {10114, integer<&S::grain_mode>()},
      {10115, integer<&S::grain_opt_strength>()},
      {10116, array<&S::adaptive_quant_strength>()},
      {10117, integer<&S::denoise_strength_y>()},
      {10118, integer<&S::denoise_strength_c>()},
      {10119, integer<&S::black_norm_level>()},
      {10120, integer<&S::pulse_reduction>()},
      {10121, array<&S::intra_y_4x4_scaling_list>()},
      {10122, array<&S::intra_cb_4x4_scaling_list>()},
      {10123, array<&S::intra_cr_4x4_scaling_list>()},
      {10124, array<&S::inter_y_4x4_scaling_list>()},
      {10125, array<&S::inter_cb_4x4_scaling_list>()},
      {10126, array<&S::inter_cr_4x4_scaling_list>()},
      {10127, array<&S::intra_y_8x8_scaling_list>()},
      {10128, array<&S::inter_y_8x8_scaling_list>()},
      {10129, own<kKeyPerformance, -1>()},
      {10130, own<kKeyForceIdr, 1>()},
      {10131, own<kKeyMaintainOriginPTS, 1>()},
      {10132, integer<&S::extended_sar>()},
      {10133, integer<&S::vui_presentation>()},
      {10134, color<&S::source_colorimetry, 10134>()},
      {10135, color<&S::colorimetry, 10135>()},
      {10136, integer<&S::constraint_set3_flag>()},
      {10137, integer<&S::constraint_set4_flag>()},
      {10138, integer<&S::constraint_set5_flag>()},
      {kKeyColorCodePoints, codePoints()},  // behind the descriptions, which it outranks
      {kKeyAsynchronous, own<kKeyAsynchronous, 0>()},
      {kKeyFlush, flushing()},
      {kKeyAsynchronousDepth, own<kKeyAsynchronousDepth, 0>()},
  };
  static_assert([] {
    for (uint32_t i = 0; i < kParameterCount; ++i) {
      if (indexOf(kParameters[i].row.key) != i) return false;
    }
    return true;
  }());
  return kParameters;
}

const ParameterRow<VideoEncoderH264>* VideoEncoderH264::parameterOf(uint32_t key) {
  const uint32_t index = Parameter::indexOf(key);
  return index < kParameterCount ? &Parameter::table()[index].row : nullptr;
}

void VideoEncoderH264::mark(uint32_t key, int64_t value) {
  parameterValues[Parameter::indexOf(key)] = {1, static_cast<uint64_t>(value)};
}

int64_t VideoEncoderH264::valueOf(uint32_t key, int64_t fallback) const {
  const ParameterValueEncoder& given = parameterValues[Parameter::indexOf(key)];
  return given.isSet != 0 ? static_cast<int64_t>(given.value) : fallback;
}

void VideoEncoderH264::localApplyParameters() {
  for (const Parameter& parameter : Parameter::table()) {
    const ParameterValueEncoder& given = parameterValues[Parameter::indexOf(parameter.row.key)];
    if (given.isSet != 0 && parameter.apply != nullptr) parameter.apply(*this, given.value);
  }
}

// Numbers are taken for every key: a real one of an integer, an integer of a real one, or the count of an array.
uint32_t VideoEncoderH264::setParameterValue(uint32_t key, int64_t value) {
  finish();
  const ParameterRow<VideoEncoderH264>* row = parameterOf(key);
  if (row == nullptr) return kSuccess;
  if (row->type == kParameterDouble) value = std::bit_cast<int64_t>(static_cast<double>(value));
  if (row->type == kParameterLongArray) {
    mark(key, value);
  } else {
    row->set(*this, key, {&value, 1});
  }
  return kSuccess;
}

uint32_t VideoEncoderH264::setParameterValue(uint32_t key, double value) {
  const ParameterRow<VideoEncoderH264>* row = parameterOf(key);
  if (row != nullptr && row->type == kParameterDouble) return WithParameters::setParameterValue(key, value);
  if (!(std::abs(value) <= std::numeric_limits<int32_t>::max())) return kSuccess;
  return setParameterValue(key, int64_t{std::llround(value)});
}

}  // namespace qvs

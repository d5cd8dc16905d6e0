// The table from fields of the settings record to those of libx264.
#include "avc/AvcSettingTable.h"

#include <limits>

namespace qvs::mc {

namespace {

using S = h264_v_settings;
using X = x264_param_t;

constexpr int32_t kAny = std::numeric_limits<int32_t>::max();
constexpr int kScenecut = 40;  // libx264's own default
constexpr int32_t kMostReferences = 16;
constexpr int32_t kLongestLookahead = 250;

/// Served as it is.
#define QVS_FIELD(field, lowest, highest, fallback, member)                                               \
  {                                                                                                       \
#field, &S::field, lowest, highest, fallback, nullptr, [](X & x, int32_t value) { x.member = value; } \
  }
/// The same with a default that the speed level gives.
#define QVS_LEVEL(field, lowest, highest, member)                                                      \
  {                                                                                                    \
#field, &S::field, lowest, highest, 0,                                                             \
        [](const X& x) -> int32_t { return x.member; }, [](X & x, int32_t value) { x.member = value; } \
  }
/// A bit of a mask, with a default that the speed level gives.
#define QVS_MASK(field, member, bits)                                                         \
  {                                                                                           \
#field, &S::field, 0, 1, 0, [](const X& x) -> int32_t { return (x.member & (bits)) != 0; }, \
        [](X& x, int32_t value) { x.member = value != 0 ? x.member | (bits) : x.member & ~(bits); } \
  }
/// Taken together with other fields.
#define QVS_SHARED(field, lowest, highest, fallback) \
  { #field, &S::field, lowest, highest, fallback, nullptr, nullptr }
/// One value holds.
#define QVS_FIXED(field, value) QVS_SHARED(field, value, value, value)

constexpr AvcSetting kSettings[] = {
    QVS_SHARED(profile_id, 0, H264_HIGH, H264_HIGH),
    QVS_SHARED(level_id, 0, H264_LEVEL_AUTO, H264_LEVEL_AUTO),
    {"idr_interval", &S::idr_interval, 0, X264_KEYINT_MAX_INFINITE, 0, nullptr,
     [](X& x, int32_t value) { x.i_keyint_max = value != 0 ? value : X264_KEYINT_MAX_INFINITE; }},
    {"reordering_delay", &S::reordering_delay, 1, 17, 1, nullptr,
     [](X& x, int32_t value) { x.i_bframe = value - 1; }},
    QVS_FIELD(interlace_mode, 0, H264_INTERLACED, 0, b_interlaced),
    QVS_FIELD(def_horizontal_size, 2, 16384, 640, i_width),
    QVS_FIELD(def_vertical_size, 2, 16384, 360, i_height),
    QVS_LEVEL(num_reference_frames, 1, kMostReferences, i_frame_reference),
    QVS_LEVEL(search_range, 4, 1024, analyse.i_me_range),
    QVS_FIXED(max_l0_active, 0),
    QVS_FIXED(max_l1_active, 0),
    QVS_SHARED(quant_pI, 1, 51, 21),
    QVS_SHARED(quant_pP, 1, 51, 23),
    QVS_SHARED(quant_pB, 1, 51, 25),
    QVS_SHARED(bit_rate_mode, H264_CBR, H264_VBR, H264_VBR),
    QVS_SHARED(bit_rate_buffer_size, 0, kAny, 0),
    QVS_SHARED(bit_rate, 1000, kAny, 850000),
    QVS_SHARED(max_bit_rate, 0, kAny, 0),
    QVS_LEVEL(inter_search_shape, X264_ME_DIA, X264_ME_TESA, analyse.i_me_method),
    QVS_LEVEL(entropy_coding_mode, 0, 1, b_cabac),
    QVS_FIXED(use_hadamard_transform, 1),
    QVS_FIELD(sar_width, 0, 65535, 0, vui.i_sar_width),
    QVS_FIELD(sar_height, 0, 65535, 0, vui.i_sar_height),
    QVS_FIELD(video_format, 0, 5, 5, vui.i_vidformat),
    QVS_SHARED(num_units_in_tick, 0, kAny / 2, 0),
    QVS_SHARED(time_scale, 0, kAny, 0),
    {"vbv_buffer_fullness", &S::vbv_buffer_fullness, 0, 100, 0, nullptr,
     [](X& x, int32_t value) {
       if (value != 0) x.rc.f_vbv_buffer_init = static_cast<float>(value) / 100;
     }},
    QVS_FIXED(vbv_buffer_fullness_trg, 0),
    QVS_FIXED(vbv_buffer_units, 0),
    QVS_FIXED(cpb_removal_delay, 0),
    QVS_FIXED(bit_rate_scale, 0),
    QVS_FIXED(cpb_size_scale, 0),
    QVS_SHARED(hrd_maintain, 0, 1, 0),
    QVS_FIXED(hrd_low_delay, 0),
    QVS_FIXED(smooth_factor, 0),
    QVS_LEVEL(use_deblocking_filter, 0, 1, b_deblocking_filter),
    QVS_FIELD(deblocking_alphaC0_offset, -6, 6, 0, i_deblocking_filter_alphac0),
    QVS_FIELD(deblocking_beta_offset, -6, 6, 0, i_deblocking_filter_beta),
    QVS_FIXED(adaptive_deblocking, 0),
    QVS_SHARED(video_type, H264_TYPE_GENERAL, H264_TYPE_MAIN, H264_TYPE_GENERAL),
    QVS_FIXED(video_pulldown_flag, 0),
    QVS_FIELD(overscan_appropriate_flag, 0, 2, 0, vui.i_overscan),
    QVS_FIXED(stream_type, 0),
    QVS_FIXED(bit_depth_luma, 8),
    QVS_FIXED(bit_depth_chroma, 8),
    QVS_FIXED(chroma_format, 1),
    QVS_FIELD(write_au_delimiters, 0, 1, 1, b_aud),
    QVS_FIXED(write_seq_end_code, 0),
    QVS_FIELD(write_timestamps, 0, 1, 0, b_pic_struct),
    QVS_FIXED(timestamp_offset, 0),
    QVS_FIXED(drop_frame_timecode, 0),
    QVS_FIXED(write_single_sei_per_nalu, 1),
    QVS_FIXED(write_seq_par_set, 1),
    QVS_FIXED(write_pic_par_set, 1),
    QVS_FIXED(log2_max_poc, 0),
    QVS_FIXED(log2_max_frame_num, 0),
    QVS_FIXED(pic_order_cnt_type, 0),
    QVS_FIXED(pic_order_present_flag, 0),
    QVS_SHARED(fixed_frame_rate, 0, 1, 0),
    QVS_FIXED(frame_based_timing, 0),
    {"vcsd_mode", &S::vcsd_mode, 0, 1, 0, [](const X& x) -> int32_t { return x.i_scenecut_threshold != 0; },
     [](X& x, int32_t value) { x.i_scenecut_threshold = value != 0 ? kScenecut : 0; }},
    QVS_FIELD(slice_arg, 0, 64, 0, i_slice_count),
    QVS_SHARED(b_slice_reference, 0, 1, 0),
    {"b_slice_pyramid", &S::b_slice_pyramid, 0, 1, 0,
     [](const X& x) -> int32_t { return x.i_bframe_pyramid == X264_B_PYRAMID_NORMAL; }, nullptr},
    QVS_FIELD(cb_offset, -12, 12, 0, analyse.i_chroma_qp_offset),
    QVS_SHARED(cr_offset, -12, 12, 0),
    QVS_LEVEL(me_subpel_mode, 0, 11, analyse.i_subpel_refine),
    QVS_LEVEL(me_weighted_p_mode, X264_WEIGHTP_NONE, X264_WEIGHTP_SMART, analyse.i_weighted_pred),
    QVS_LEVEL(me_weighted_b_mode, 0, 1, analyse.b_weighted_bipred),
    QVS_FIXED(enable_fast_intra_decisions, 0),
    QVS_LEVEL(enable_fast_inter_decisions, 0, 1, analyse.b_fast_pskip),
    QVS_SHARED(pic_ar_x, 0, 65535, 0),
    QVS_SHARED(pic_ar_y, 0, 65535, 0),
    QVS_FIXED(calc_quality, 0),
    {"cpu_opt", &S::cpu_opt, 0, 1, 0, nullptr,
     [](X& x, int32_t value) {
       if (value != 0) x.cpu = 0;
     }},
    QVS_SHARED(num_threads, 0, 64, 1),
    QVS_SHARED(live_mode, 0, 1, 0),
    QVS_SHARED(buffering, 0, kLongestLookahead, 0),
    QVS_FIELD(min_quant, 0, 51, 0, rc.i_qp_min),
    {"max_quant", &S::max_quant, 1, 51, 51, nullptr,
     [](X& x, int32_t value) { x.rc.i_qp_max = value < 51 ? value : std::numeric_limits<int>::max(); }},
    QVS_FIELD(max_slice_size, 0, kAny, 0, i_slice_max_size),
    QVS_FIXED(constrained_slices, 0),
    QVS_SHARED(encoding_buffering, 0, 1, 0),
    QVS_SHARED(low_delay, 0, 1, 0),
    QVS_FIELD(air_mode, 0, 1, 0, b_intra_refresh),
    QVS_FIXED(detach_thread, 0),
    QVS_FIELD(constrained_intra_pred, 0, 1, 0, b_constrained_intra),
    QVS_FIXED(air_split_frequency, 0),
    QVS_FIXED(air_qp_offset, 0),
    QVS_FIELD(min_idr_interval, 0, X264_KEYINT_MAX_INFINITE, 1, i_keyint_min),
    QVS_LEVEL(adaptive_b_frames, X264_B_ADAPT_NONE, X264_B_ADAPT_TRELLIS, i_bframe_adaptive),
    QVS_FIXED(idr_frequency, 1),
    {"field_order", &S::field_order, 0, 1, 0, nullptr, [](X& x, int32_t value) { x.b_tff = value == 0; }},
    QVS_FIXED(fixed_i_position, 0),
    QVS_FIXED(isolated_gops, 1),
    QVS_FIXED(hierar_p_frames, 0),
    {"fast_multi_ref_me", &S::fast_multi_ref_me, 0, 1, 0,
     [](const X& x) -> int32_t { return x.analyse.b_mixed_references == 0; },
     [](X& x, int32_t value) { x.analyse.b_mixed_references = value == 0; }},
    QVS_FIXED(fast_sub_block_me, 0),
    QVS_FIXED(allow_out_of_pic_mvs, 1),
    QVS_FIXED(constrained_ref_list, 0),
    QVS_LEVEL(chroma_me, 0, 1, analyse.b_chroma_me),
    QVS_FIXED(enable_intra_big, 1),
    QVS_MASK(enable_intra_8x8, analyse.intra, X264_ANALYSE_I8x8),
    QVS_MASK(enable_intra_4x4, analyse.intra, X264_ANALYSE_I4x4),
    QVS_FIXED(enable_intra_pcm, 1),
    QVS_FIXED(enable_inter_big, 1),
    QVS_MASK(enable_inter_8x8, analyse.inter, X264_ANALYSE_PSUB16x16),
    QVS_MASK(enable_inter_4x4, analyse.inter, X264_ANALYSE_PSUB8x8),
    QVS_FIXED(enable_inter_pcm, 1),
    QVS_FIXED(fast_rd_optimization, 0),
    QVS_LEVEL(quant_mode, 0, 2, analyse.i_trellis),
    QVS_FIXED(grain_mode, 0),
    QVS_FIXED(grain_opt_strength, 0),
    QVS_FIELD(denoise_strength_y, 0, 65536, 0, analyse.i_noise_reduction),
    QVS_FIXED(denoise_strength_c, 0),
    QVS_FIXED(black_norm_level, 0),
    QVS_FIXED(pulse_reduction, 0),
    QVS_FIXED(extended_sar, 0),
    QVS_FIXED(vui_presentation, 1),
    QVS_FIXED(constraint_set3_flag, 0),
    QVS_FIXED(constraint_set4_flag, 0),
    QVS_FIXED(constraint_set5_flag, 0),
    QVS_FIXED(hrd_preview, 0),
};

#undef QVS_FIELD
#undef QVS_LEVEL
#undef QVS_MASK
#undef QVS_SHARED
#undef QVS_FIXED

}  // namespace

std::span<const AvcSetting> avcSettings() {
  return kSettings;
}

}  // namespace qvs::mc

// The H.264 encoder: settings record, operations, and the options that travel with a frame.
//
// Order of calls: default settings, performance, changes of single fields, check, new, init, then one put per
// frame, done, free. Calls on one encoder must not overlap; different encoders are independent.
#pragma once

#include <cstdint>

#include "mc_bufstream.h"
#include "mc_callbacks.h"
#include "mc_frame.h"

extern "C" {

/// Values of fields. Where nothing else is told a field is 0 or 1, off or on.
enum {
  H264_TYPE_GENERAL = 0,  ///< video_type: high profile
  H264_TYPE_BASELINE = 1,
  H264_TYPE_MAIN = 2,

  H264_BASELINE = 0,  ///< profile_id
  H264_MAIN = 1,
  H264_HIGH = 3,

  H264_LEVEL_AUTO = 100,  ///< level_id: the lowest that the settings fit; else ten times the level, 9 for 1b

  H264_PROGRESSIVE = 0,  ///< interlace_mode
  H264_INTERLACED = 1,

  H264_CBR = 0,  ///< bit_rate_mode: the buffer is filled at `bit_rate`
  H264_CQT = 1,  ///< constant quantizers `quant_pI`, `quant_pP`, `quant_pB`
  H264_VBR = 2,  ///< `bit_rate` on average, at most `max_bit_rate`
};

/// Code points of ITU-T H.273; signal_range 0 unspecified, 1 narrow, 2 full.
struct mc_colorimetry_t {
  int32_t color_primaries;
  int32_t transfer_characteristics;
  int32_t matrix_coefficients;
  int32_t signal_range;
};

enum color_description_e {
  COLOR_DESCRIPTION_AUTO = -1,  ///< by the picture's size
  COLOR_DESCRIPTION_DEFAULT = 0,
  COLOR_DESCRIPTION_UNSPECIFIED = 1,
  COLOR_DESCRIPTION_BT601_625 = 2,
  COLOR_DESCRIPTION_BT601_525 = 3,
  COLOR_DESCRIPTION_BT709 = 4,
  COLOR_DESCRIPTION_SMPTE240 = 5,
  COLOR_DESCRIPTION_BT2020_10BIT = 6,
  COLOR_DESCRIPTION_BT2020_12BIT = 7,
  COLOR_DESCRIPTION_BT2100_PQ = 8,
  COLOR_DESCRIPTION_BT2100_HLG = 9,
};

/// The settings. Fields whose meaning isn't told here are part of the vocabulary but not served: the check
/// puts them back to the one value that holds.
struct h264_v_settings {
  int32_t profile_id;
  int32_t level_id;
  int32_t idr_interval;      ///< frames; 0: IDR pictures come by request alone
  int32_t reordering_delay;  ///< distance of reference pictures in display order; 1: no B pictures
  int32_t interlace_mode;
  int32_t def_horizontal_size;   ///< pixels, even
  int32_t def_vertical_size;     ///< rows, even
  double frame_rate;             ///< frames per second
  int32_t num_reference_frames;  ///< 1 to 16
  int32_t search_range;          ///< pixels
  int32_t max_l0_active;
  int32_t max_l1_active;
  int32_t quant_pI;
  int32_t quant_pP;
  int32_t quant_pB;
  int32_t bit_rate_mode;
  int32_t bit_rate_buffer_size;  ///< bits; 0: no buffer model
  int32_t bit_rate;              ///< bits per second
  int32_t max_bit_rate;          ///< bits per second
  int32_t inter_search_shape;    ///< 0 diamond, 1 hexagon, 2 multi-hexagon, 3 and 4 exhaustive
  int32_t entropy_coding_mode;
  int32_t use_hadamard_transform;
  int32_t sar_width;  ///< 0: not told
  int32_t sar_height;
  int32_t video_format;       ///< as in H.264 table E-2
  int32_t num_units_in_tick;  ///< with time_scale: the duration of a field, before frame_rate; 0: not told
  int32_t time_scale;
  int32_t vbv_buffer_fullness;  ///< percent at the start; 0: the default of 90
  int32_t vbv_buffer_fullness_trg;
  int32_t vbv_buffer_units;
  int32_t cpb_removal_delay;
  int32_t bit_rate_scale;
  int32_t cpb_size_scale;
  int32_t max_frame_size[4];
  int32_t hrd_maintain;  ///< the buffer model is written into the stream
  int32_t min_frame_size[4];
  int32_t hrd_low_delay;
  int32_t smooth_factor;
  int32_t use_deblocking_filter;
  int32_t deblocking_alphaC0_offset;  ///< -6 to 6
  int32_t deblocking_beta_offset;     ///< -6 to 6
  int32_t adaptive_deblocking;
  int32_t video_type;
  int32_t video_pulldown_flag;
  int32_t overscan_appropriate_flag;  ///< 0 not told, 1 no, 2 yes
  int32_t stream_type;
  int32_t bit_depth_luma;
  int32_t bit_depth_chroma;
  int32_t chroma_format;
  int32_t write_au_delimiters;
  int32_t write_seq_end_code;
  int32_t write_timestamps;  ///< picture timing messages
  int32_t timestamp_offset;
  int32_t drop_frame_timecode;
  int32_t write_single_sei_per_nalu;
  int32_t write_seq_par_set;
  int32_t write_pic_par_set;
  int32_t log2_max_poc;
  int32_t log2_max_frame_num;
  int32_t pic_order_cnt_type;
  int32_t pic_order_present_flag;
  int32_t fixed_frame_rate;  ///< rates count frames, not time stamps
  int32_t frame_based_timing;
  int32_t vcsd_mode;          ///< scene cuts become key pictures
  int32_t slice_arg;          ///< slices a picture; 0: as the threads need
  int32_t b_slice_reference;  ///< B pictures as references
  int32_t b_slice_pyramid;    ///< B pictures as references, more freely
  int32_t cb_offset;          ///< of the chroma quantizer, -12 to 12; cr_offset must be equal
  int32_t cr_offset;
  int32_t me_subpel_mode;      ///< 0 to 11
  int32_t me_weighted_p_mode;  ///< 0 to 2
  int32_t me_weighted_b_mode;
  int32_t enable_fast_intra_decisions;
  int32_t enable_fast_inter_decisions;
  int32_t pic_ar_x;  ///< picture aspect ratio, where no sample aspect ratio is told; 0: not told
  int32_t pic_ar_y;
  int32_t calc_quality;
  int32_t cpu_opt;      ///< 0: all the processor has; 1: plain code
  int32_t num_threads;  ///< 0: one a processor core
  int32_t live_mode;
  int32_t buffering;  ///< frames of look-ahead, each a frame of delay
  int32_t min_quant;
  int32_t max_quant;       ///< 51: no limit
  int32_t max_slice_size;  ///< bytes; 0: no limit
  int32_t constrained_slices;
  int32_t encoding_buffering;  ///< threads may work on a picture each, with as many pictures of delay
  int32_t low_delay;
  int32_t air_mode;  ///< a column of intra blocks moves over the picture instead of IDR pictures
  int32_t detach_thread;
  int32_t constrained_intra_pred;
  int32_t air_split_frequency;
  int32_t air_qp_offset;
  int32_t min_idr_interval;   ///< frames
  int32_t adaptive_b_frames;  ///< 0 to 2
  int32_t idr_frequency;
  int32_t field_order;  ///< 0: top field first
  int32_t fixed_i_position;
  int32_t isolated_gops;
  int32_t hierar_p_frames;
  int32_t fast_multi_ref_me;
  int32_t fast_sub_block_me;
  int32_t allow_out_of_pic_mvs;
  int32_t constrained_ref_list;
  int32_t chroma_me;
  int32_t enable_intra_big;
  int32_t enable_intra_8x8;
  int32_t enable_intra_4x4;
  int32_t enable_intra_pcm;
  int32_t enable_inter_big;
  int32_t enable_inter_8x8;
  int32_t enable_inter_4x4;
  int32_t enable_inter_pcm;
  int32_t fast_rd_optimization;
  int32_t quant_mode;  ///< 0 plain, 1 trellis for the final decision, 2 everywhere
  int32_t grain_mode;
  int32_t grain_opt_strength;
  int8_t adaptive_quant_strength[8];  ///< [0]: percent; the others aren't served
  int32_t denoise_strength_y;         ///< 0 to 65536
  int32_t denoise_strength_c;
  int32_t black_norm_level;
  int32_t pulse_reduction;
  uint8_t intra_y_4x4_scaling_list[16];  ///< all zero: flat
  uint8_t intra_cb_4x4_scaling_list[16];
  uint8_t intra_cr_4x4_scaling_list[16];
  uint8_t inter_y_4x4_scaling_list[16];
  uint8_t inter_cb_4x4_scaling_list[16];
  uint8_t inter_cr_4x4_scaling_list[16];
  uint8_t intra_y_8x8_scaling_list[64];
  uint8_t inter_y_8x8_scaling_list[64];
  int32_t extended_sar;
  int32_t vui_presentation;
  int32_t constraint_set3_flag;
  int32_t constraint_set4_flag;
  int32_t constraint_set5_flag;
  mc_colorimetry_t source_colorimetry;  ///< of the pictures given
  mc_colorimetry_t colorimetry;         ///< to be written into the stream
  int32_t hrd_preview;
  int32_t speed_level;  ///< set by h264OutVideoPerformance: where settings without a field come from
};
typedef h264_v_settings h264_v_settings_tt;

struct h264venc_tt;  ///< an encoder

/// What may go with a frame; a list ends with an entry of id 0.
enum ext_opt_id {
  EXT_OPT_END = 0,
  EXT_OPT_PARAM_FORCE_IDR = 13,   ///< the frame becomes an IDR picture; no data
  EXT_OPT_PARAM_TIMESTAMPS = 18,  ///< data: mc_sample_info_struct_t; without it frames follow the frame rate
};
struct mc_enc_option_t {
  ext_opt_id option_id;
  void* option_data;
};

/// Fills `colorimetry` from a description. 0, or 1 with an unspecified one for a number that is none.
int32_t set_colorimetry_from_color_description(mc_colorimetry_t* colorimetry, int32_t description);

/// Fills the whole record. `width` and `height` in pixels. 0, or 1 for a null record.
int32_t h264OutVideoDefaultSettings(h264_v_settings* settings, int32_t video_type, int32_t width,
                                    int32_t height, int32_t interlace_mode, const mc_callbacks_t* callbacks);

/// Tunes the fields that trade speed for quality: level 0 is the fastest, 15 the best. Numbers outside take
/// the nearest level and answer 1. `online` and `reserved` are 0.
int32_t h264OutVideoPerformance(h264_v_settings* settings, int32_t online, int32_t level, int32_t reserved,
                                const mc_callbacks_t* callbacks);

/// Puts every field that can't be served to the nearest value that can, with one warning line each. Answers
/// the number of fields changed: 0 when all stood as they were.
int32_t h264OutVideoChkSettings(const mc_callbacks_t* callbacks, h264_v_settings* settings, uint32_t options,
                                void* app);

/// An encoder with a copy of the settings; null when they weren't checked or it can't be made. `cpu`
/// -1: whatever the processor has. Others 0.
h264venc_tt* h264OutVideoNew(const mc_callbacks_t* callbacks, const h264_v_settings* settings,
                             int32_t options, int32_t cpu, int32_t frame0, int32_t frame_count);

/// Attaches the stream that takes the output. It is borrowed. 0 on success.
int32_t h264OutVideoInit(h264venc_tt* encoder, bufstream_tt* stream, uint32_t options,
                         const mc_enc_option_t* list);

/// Encodes one picture of 4:2:0 in planes ("YV12", "I420", "IYUV") or with paired chroma ("NV12", "NV21").
/// `stride` in bytes. Width and height are those of the settings; an odd last column or row is left out.
/// 0 on success; 1 when the picture wasn't taken; 2 when the
/// stream had no room for a unit, after which the next picture becomes an IDR picture.
int32_t h264OutVideoPutFrame(h264venc_tt* encoder, uint8_t* const plane[4], const int32_t stride[4],
                             uint32_t width, uint32_t height, uint32_t four_cc,
                             const mc_enc_option_t* options);

/// Takes over the rates of changed settings from the next frame on. 0 on success; 2 for a higher rate where
/// the first settings had no buffer, or a peak of more than 1.25 times the rate: the old average then stays.
int32_t h264OutVideoUpdateSettings(h264venc_tt* encoder, const h264_v_settings* settings);

/// Writes what is delayed, unless `abort`. 0 on success.
int32_t h264OutVideoDone(h264venc_tt* encoder, int32_t abort);

void h264OutVideoFree(h264venc_tt* encoder);  ///< null is allowed
}

// The video decoders: H.264, H.265, MPEG-4 with its kin, MPEG-1/2. Each is a stream record that coded bytes
// are copied into and that is asked over its command channel.
#pragma once

#include <cstdint>

#include "mc_bufstream.h"
#include "mc_callbacks.h"

extern "C" {

/// The least of what a stream tells of itself.
struct mc_seq_params_t {
  int32_t horizontal_size;  ///< pixels
  int32_t vertical_size;    ///< rows
};

/// What a stream tells of itself.
struct mc_seq_params_ex_t {
  int32_t horizontal_size;  ///< pixels
  int32_t vertical_size;    ///< rows
  /// MPEG-1/2: the header's code; 0 for square pixels.
  int32_t aspect_ratio_information;
  int32_t frame_rate_code;
  int32_t bit_rate_value;
  int32_t vbv_buffer_size;
  int32_t constrained_parameters_flag;
  /// H.264, H.265: aspect of the whole picture. MPEG-4: of a pixel. 0 unknown.
  int32_t aspect_ratio_width;
  int32_t aspect_ratio_height;
  int32_t scale;  ///< frames a second = scale / units; 0 unknown
  int32_t units;
  int32_t max_sub_layers;
};

/// What a picture tells of itself.
struct mc_pic_params_ex_t {
  int32_t picture_coding_type;  ///< 1 intra, 2 predicted, 3 bidirectional
  int32_t progressive_frame;
  int32_t top_field_first;
  int32_t repeat_first_field;
  int32_t matrix_coefficients;  ///< code point of ITU-T H.273; 2: not told
  int32_t video_full_range;     ///< 1: samples from 0 to 255; 0: narrow, or not told
};

/// Value bits of GET_PIC: one field alone, its missing rows interpolated.
enum { GET_PIC_FIELD = 0x100, GET_PIC_FIELD_BOTTOM = 0x200 };

/// Option bits of PARSE_OPTIONS.
enum { PARSE_OPTION_DEINTERLACE = 512 };  ///< GET_PIC delivers interlaced pictures deinterlaced

/// A code of `auxinfo`: the unit begun by the last time record has been fed whole, so that its picture need
/// not wait for the next one. Decoders that don't know it find the end by themselves.
enum { END_OF_UNIT = 0x51560001 };

/// Kinds of stream that the MPEG-4 decoder reads.
enum { MPEG4IN_MPEG4 = 0, MPEG4IN_H263 = 1, MPEG4IN_SORENSON = 2 };

/// Null without memory or without the codec. The record is given back by its `free`.
bufstream_tt* createDecoderAVC(callbacks_t* callbacks, uint32_t flags, uint32_t reserved);
bufstream_tt* createDecoderHEVC(callbacks_t* callbacks, uint32_t flags, uint32_t reserved);
bufstream_tt* open_mpeg4in_Video_stream_ex(callbacks_t* callbacks, uint32_t kind, uint32_t reserved);
bufstream_tt* createDecoderMPEG(callbacks_t* callbacks, uint32_t flags, uint32_t reserved);
}

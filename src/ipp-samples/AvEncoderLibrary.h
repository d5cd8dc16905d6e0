#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
}

// Functions in use, by library. Add a name here and it is a member of AvEncoderLibrary.
// clang-format off
#define QVS_H263_UTIL_FUNCTIONS(X) X(av_frame_alloc) X(av_frame_free) X(av_frame_unref) X(av_buffer_create) X(av_opt_set_int)
#define QVS_H263_CODEC_FUNCTIONS(X) \
  X(avcodec_find_encoder_by_name) X(avcodec_alloc_context3) X(avcodec_free_context) X(avcodec_open2) X(avcodec_send_frame) \
  X(avcodec_receive_packet) X(av_packet_alloc) X(av_packet_free) X(av_packet_unref) X(av_packet_get_side_data)
// clang-format on

namespace qvs {

/// libavcodec for the one encoder of the sample framework, opened when the first is made; it stays.
class AvEncoderLibrary {
 public:
  /// Null where it isn't installed.
  static const AvEncoderLibrary* get();

#define QVS_H263_MEMBER(name) decltype(&::name) name = nullptr;
  QVS_H263_UTIL_FUNCTIONS(QVS_H263_MEMBER)
  QVS_H263_CODEC_FUNCTIONS(QVS_H263_MEMBER)
#undef QVS_H263_MEMBER
};

}  // namespace qvs

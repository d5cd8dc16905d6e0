#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswresample/swresample.h>
}

// Functions in use, by library. Add a name here and it is a member of AvLibrary.
// clang-format off
#define QVS_AVUTIL_FUNCTIONS(X) \
  X(av_frame_alloc) X(av_frame_free) X(av_frame_unref) X(av_frame_get_buffer) X(av_frame_make_writable) \
  X(av_buffer_create) X(av_buffer_unref) X(av_dict_set) X(av_dict_free) X(av_free) X(av_freep) X(av_malloc) \
  X(av_mallocz) X(av_opt_set) X(av_opt_set_int) X(av_pix_fmt_desc_get) X(av_channel_layout_default) \
  X(av_channel_layout_uninit) X(av_channel_layout_from_mask) X(av_channel_layout_copy) X(av_frame_clone) \
  X(av_buffer_realloc) X(av_buffer_is_writable)
#define QVS_AVCODEC_FUNCTIONS(X) \
  X(avcodec_find_decoder) X(avcodec_find_decoder_by_name) X(avcodec_find_encoder) \
  X(avcodec_find_encoder_by_name) X(avcodec_alloc_context3) X(avcodec_free_context) X(avcodec_open2) \
  X(avcodec_send_packet) X(avcodec_receive_frame) X(avcodec_send_frame) X(avcodec_receive_packet) \
  X(avcodec_flush_buffers) X(avcodec_default_get_buffer2) X(av_packet_alloc) X(av_packet_free) \
  X(av_packet_unref) X(av_packet_make_refcounted) X(av_parser_init) X(av_parser_parse2) X(av_parser_close)
#define QVS_AVFILTER_FUNCTIONS(X) \
  X(avfilter_graph_alloc) X(avfilter_graph_free) X(avfilter_graph_config) X(avfilter_graph_create_filter) \
  X(avfilter_get_by_name) X(avfilter_link) X(av_buffersrc_add_frame_flags) X(av_buffersink_get_frame)
#define QVS_SWRESAMPLE_FUNCTIONS(X) \
  X(swr_alloc_set_opts2) X(swr_init) X(swr_free) X(swr_convert) X(swr_get_out_samples)
// clang-format on

namespace qvs::mc {

/// libavcodec, libavutil and libavfilter, opened when the first codec of theirs is made: a process that needs
/// none of their codecs never pays for loading them. They stay loaded, since their threads and thread-local
/// data may outlive a codec.
/// Contexts are opened with a `log_level_offset` that silences them: the console is the host's.
class AvLibrary {
 public:
  /// Null, with one line on standard output, where they aren't installed.
  static const AvLibrary* codecs();
  /// The same with the functions of libavfilter filled.
  static const AvLibrary* filters();
  /// The functions of libswresample and libavutil alone: a tenth of the codecs' memory.
  static const AvLibrary* resampler();

#define QVS_DECLARE(name) decltype(&::name) name = nullptr;
  QVS_AVUTIL_FUNCTIONS(QVS_DECLARE)
  QVS_AVCODEC_FUNCTIONS(QVS_DECLARE)
  QVS_AVFILTER_FUNCTIONS(QVS_DECLARE)
  QVS_SWRESAMPLE_FUNCTIONS(QVS_DECLARE)
#undef QVS_DECLARE

 private:
  bool openUtil();
  bool openCodecs();
  bool openFilters();
  bool openResampler();
};

}  // namespace qvs::mc

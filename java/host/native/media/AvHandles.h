#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace qvs::host {

/// Deleters for the libav objects that free through a pointer to the pointer.
struct AvDeleter {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(SwsContext* context) const { sws_freeContext(context); }
  void operator()(SwrContext* context) const { swr_free(&context); }
};

using AvPacketPtr = std::unique_ptr<AVPacket, AvDeleter>;
using AvFramePtr = std::unique_ptr<AVFrame, AvDeleter>;
using AvCodecPtr = std::unique_ptr<AVCodecContext, AvDeleter>;
using SwrPtr = std::unique_ptr<SwrContext, AvDeleter>;
using SwsPtr = std::unique_ptr<SwsContext, AvDeleter>;

}  // namespace qvs::host

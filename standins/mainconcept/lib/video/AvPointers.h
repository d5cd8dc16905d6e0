#pragma once

#include <memory>

#include "av/AvLibrary.h"

namespace qvs::mc {

struct AvFrameFree {
  void operator()(AVFrame* frame) const { AvLibrary::codecs()->av_frame_free(&frame); }
};
using AvFramePtr = std::unique_ptr<AVFrame, AvFrameFree>;

struct AvContextFree {
  void operator()(AVCodecContext* context) const { AvLibrary::codecs()->avcodec_free_context(&context); }
};
using AvContextPtr = std::unique_ptr<AVCodecContext, AvContextFree>;

struct AvPacketFree {
  void operator()(AVPacket* packet) const { AvLibrary::codecs()->av_packet_free(&packet); }
};
using AvPacketPtr = std::unique_ptr<AVPacket, AvPacketFree>;

/// `log_level_offset` that keeps a context from writing to the console.
inline constexpr int kAvSilence = 96;

}  // namespace qvs::mc

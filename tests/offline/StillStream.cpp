#include "offline/StillStream.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "bufstream/ParameterSets.h"

// The H.265 encoder of these streams forgets some of its memory.
extern "C" const char* __lsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libx265";
}

namespace qvs::test {
namespace {

constexpr int kBt601 = 6;

struct Free {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

const AVCodec* encoderOf(uint32_t codec) {
  switch (codec) {
    case 7:
      return avcodec_find_encoder_by_name("libx264");
    case 12:
      return avcodec_find_encoder_by_name("libx265");
    case 11:
      return avcodec_find_encoder(AV_CODEC_ID_MPEG2VIDEO);
    default:
      return avcodec_find_encoder(AV_CODEC_ID_MPEG4);
  }
}

struct Yuv {
  double plane[3];
};

/// What a color is coded as. A matrix that isn't told is that of the height.
Yuv coded(const uint8_t (&rgb)[3], const StillSetup& setup) {
  const bool bt601 = setup.matrix == kBt601 || (setup.matrix == 2 && setup.height < 720);
  const double kr = bt601 ? 0.299 : 0.2126;
  const double kb = bt601 ? 0.114 : 0.0722;
  const double luma = kr * rgb[0] + (1 - kr - kb) * rgb[1] + kb * rgb[2];
  const double u = (rgb[2] - luma) / (2 * (1 - kb));
  const double v = (rgb[0] - luma) / (2 * (1 - kr));
  if (setup.fullRange) return {{luma, u + 128, v + 128}};
  return {{16 + luma * 219 / 255, 128 + u * 224 / 255, 128 + v * 224 / 255}};
}

void paint(AVFrame& frame, const StillSetup& setup, int number) {
  for (int plane = 0; plane < 3; ++plane) {
    const int shift = plane == 0 ? 0 : 1;
    for (int y = 0; y < frame.height >> shift; ++y) {
      for (int x = 0; x < frame.width >> shift; ++x) {
        const int bar = x * StillStream::kBarCount / (frame.width >> shift);
        const double value = coded(StillStream::kBars[bar], setup).plane[plane];
        const double darker = plane == 0 ? number * StillStream::kStep : 0;
        frame.data[plane][y * frame.linesize[plane] + x] =
            static_cast<uint8_t>(std::clamp(std::lround(value - darker), 0l, 255l));
      }
    }
  }
}

void setOptions(AVCodecContext& context, const StillSetup& setup) {
  context.width = setup.width;
  context.height = setup.height;
  context.pix_fmt = AV_PIX_FMT_YUV420P;
  context.time_base = {1, 25};
  context.gop_size = 100;
  context.max_b_frames = setup.bFrames;
  context.thread_count = 1;
  context.colorspace = static_cast<AVColorSpace>(setup.matrix);
  context.color_primaries =
      setup.matrix == 2 ? AVCOL_PRI_UNSPECIFIED : static_cast<AVColorPrimaries>(setup.matrix);
  context.color_range = setup.fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  context.flags |= AV_CODEC_FLAG_QSCALE;
  context.global_quality = FF_QP2LAMBDA;
  const std::string bFrames = std::to_string(setup.bFrames);
  if (setup.codec == 7) {
    av_opt_set(context.priv_data, "preset", "veryfast", 0);
    av_opt_set(context.priv_data, "x264-params",
               ("log=-1:scenecut=0:qp=4:b-adapt=0:b-pyramid=none:bframes=" + bFrames).c_str(), 0);
  } else if (setup.codec == 12) {
    av_opt_set(context.priv_data, "preset", "ultrafast", 0);
    av_opt_set(
        context.priv_data, "x265-params",
        ("log-level=none:pools=none:frame-threads=1:repeat-headers=1:scenecut=0:qp=4:bframes=" + bFrames)
            .c_str(),
        0);
  }
}

void add(StillStream& stream, MediaBytes bytes, int64_t dts, int64_t pts, bool key) {
  stream.bytes.push_back(std::move(bytes));
  MediaBytes& kept = stream.bytes.back();
  stream.packets.push_back({kept.data(), static_cast<uint32_t>(kept.size()), static_cast<uint64_t>(dts),
                            static_cast<uint64_t>(pts - dts), key ? 1 : 2});
}

}  // namespace

StillStream makeStillStream(const StillSetup& setup) {
  av_log_set_level(AV_LOG_PANIC);
  const AVCodec* encoder = encoderOf(setup.codec);
  const std::unique_ptr<AVCodecContext, Free> context(avcodec_alloc_context3(encoder));
  setOptions(*context, setup);
  if (avcodec_open2(context.get(), encoder, nullptr) < 0) throw std::runtime_error("no encoder");
  const std::unique_ptr<AVPacket, Free> packet(av_packet_alloc());
  StillStream stream;
  for (int number = 0; number <= setup.frames; ++number) {
    const std::unique_ptr<AVFrame, Free> frame(av_frame_alloc());
    frame->width = setup.width;
    frame->height = setup.height;
    frame->format = AV_PIX_FMT_YUV420P;
    frame->pts = number;
    frame->quality = FF_QP2LAMBDA;
    if (number < setup.frames) {
      av_frame_get_buffer(frame.get(), 0);
      paint(*frame, setup, number);
    }
    avcodec_send_frame(context.get(), number < setup.frames ? frame.get() : nullptr);
    while (avcodec_receive_packet(context.get(), packet.get()) >= 0) {
      add(stream, {packet->data, packet->data + packet->size}, 40 * packet->dts, 40 * packet->pts,
          (packet->flags & AV_PKT_FLAG_KEY) != 0);
      stream.numbers.push_back(static_cast<int>(packet->pts));
      av_packet_unref(packet.get());
    }
  }
  return stream;
}

StillStream readStillStream(MediaStream& file, size_t limit) {
  StillStream stream;
  if (Thumbnailer::codecOf(static_cast<int32_t>(file.getCodec())) == nullptr) return stream;
  const bool prefixed = file.getCodec() == 7 || file.getCodec() == 12;
  MediaBytes header = file.getConfig();
  ParameterSets sets;
  if (prefixed) {
    if (file.getCodec() == 7) sets.readAvcRecord(header);
    if (file.getCodec() == 12) sets.readHevcRecord(header);
    header = sets.annexB();
  }
  MediaUnit unit;
  while (stream.bytes.size() < limit && file.next(unit)) {
    MediaBytes bytes;
    for (size_t at = 0; prefixed && at + sets.nalUnitLen <= unit.bytes.size();) {
      size_t length = 0;
      for (uint32_t i = 0; i < sets.nalUnitLen; ++i) length = length << 8 | unit.bytes[at++];
      length = std::min(length, unit.bytes.size() - at);
      const auto begin = unit.bytes.begin() + static_cast<ptrdiff_t>(at);
      const MediaBytes nal = ParameterSets::withStartCode({begin, begin + static_cast<ptrdiff_t>(length)});
      bytes.insert(bytes.end(), nal.begin(), nal.end());
      at += length;
    }
    if (!prefixed) bytes = unit.bytes;
    if (unit.frameType == 1 || stream.bytes.empty())
      bytes.insert(bytes.begin(), header.begin(), header.end());
    const auto time = static_cast<int64_t>(unit.timecode);
    add(stream, std::move(bytes), time, time, unit.frameType == 1);
  }
  return stream;
}

ThumbnailerRequestData requestOf(uint32_t codec, StillStream& stream, size_t count) {
  ThumbnailerRequestData request;
  request.codec = static_cast<int32_t>(codec);
  request.fitMode = 6;
  request.packets = stream.packets.data();
  request.packetsLen = static_cast<uint32_t>(std::min(count, stream.packets.size()));
  return request;
}

Still make(const ThumbnailerRequestData& request) {
  Still still;
  still.status =
      Thumbnailer::videoDecoderGetVideoFrame(*Thumbnailer::codecOf(request.codec), request, still.data);
  return still;
}

}  // namespace qvs::test

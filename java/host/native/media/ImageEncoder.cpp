// Pictures as JPEG, PNG and WebP files.
#include "media/ImageEncoder.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <string>
#include <utility>

namespace qvs::host {

namespace {

struct Row {
  const char* codec;
  AVPixelFormat pixels;
  int quality;  ///< libavcodec's scale of the codec, 0: without loss
};
// Quality a little above what web pages take for stills.
constexpr Row kRows[] = {
    {"mjpeg", AV_PIX_FMT_YUVJ420P, 4},
    {"png", AV_PIX_FMT_RGB24, 0},
    {"libwebp", AV_PIX_FMT_YUV420P, 80},
};

}  // namespace

MediaStatus ImageEncoder::open(int width, int height) {
  const Row& row = kRows[static_cast<size_t>(format_)];
  codec_.reset();
  const AVCodec* found = avcodec_find_encoder_by_name(row.codec);
  if (!found) return MediaStatus::failure(std::string(row.codec) + ": no such encoder");
  AvCodecPtr made(avcodec_alloc_context3(found));
  frame_.reset(av_frame_alloc());
  packet_.reset(av_packet_alloc());
  if (!made || !frame_ || !packet_) return MediaStatus::failure("out of memory");
  made->width = width;
  made->height = height;
  made->pix_fmt = row.pixels;
  made->time_base = {1, 1};
  made->thread_count = 1;
  if (row.quality != 0) {
    made->flags |= AV_CODEC_FLAG_QSCALE;
    made->global_quality = row.quality * FF_QP2LAMBDA;
  }
  MediaStatus status = MediaStatus::fromCode(avcodec_open2(made.get(), found, nullptr), row.codec);
  if (!status.ok()) return status;
  frame_->width = width;
  frame_->height = height;
  frame_->format = row.pixels;
  frame_->quality = made->global_quality;
  status = MediaStatus::fromCode(av_frame_get_buffer(frame_.get(), 0), row.codec);
  converter_.reset(sws_getContext(width, height, AV_PIX_FMT_BGRA, width, height, row.pixels,
                                  SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INP, nullptr, nullptr,
                                  nullptr));
  if (!converter_) return MediaStatus::failure("pictures of that size can't be converted");
  if (status.ok()) codec_ = std::move(made);
  return status;
}

MediaStatus ImageEncoder::encode(const uint8_t* pixels, int width, int height) {
  const bool fits = codec_ && codec_->width == width && codec_->height == height;
  MediaStatus status = fits ? MediaStatus() : open(width, height);
  if (!status.ok()) return status;
  status = MediaStatus::fromCode(av_frame_make_writable(frame_.get()), "picture");
  if (!status.ok()) return status;
  const uint8_t* const planes[] = {pixels, nullptr, nullptr, nullptr};
  const int strides[] = {width * 4, 0, 0, 0};
  sws_scale(converter_.get(), planes, strides, 0, height, frame_->data, frame_->linesize);
  ++frame_->pts;
  status = MediaStatus::fromCode(avcodec_send_frame(codec_.get(), frame_.get()), "picture");
  if (!status.ok()) return status;
  av_packet_unref(packet_.get());
  int code = avcodec_receive_packet(codec_.get(), packet_.get());
  // Those that hold one back give it at their end, and are made anew for the next.
  if (code == AVERROR(EAGAIN) && (code = avcodec_send_frame(codec_.get(), nullptr)) >= 0) {
    code = avcodec_receive_packet(codec_.get(), packet_.get());
    codec_.reset();
  }
  return MediaStatus::fromCode(code, "picture");
}

}  // namespace qvs::host

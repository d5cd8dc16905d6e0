// Decoding of pictures by libavcodec, for codecs that the transcoder does not take.
#include "media/PictureDecoder.h"

#include <climits>
#include <cstring>

namespace qvs::host {

namespace {

// A decoder that only fails would spin for ever.
constexpr int kFailuresMost = 16;

}  // namespace

bool PictureDecoder::knows(const char* codecName) {
  const AVCodecDescriptor* descriptor = avcodec_descriptor_get_by_name(codecName);
  return descriptor && descriptor->type == AVMEDIA_TYPE_VIDEO && avcodec_find_decoder(descriptor->id);
}

MediaStatus PictureDecoder::open(const AVStream& stream, PictureColors colors, int threads) {
  const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  const std::string name = avcodec_get_name(stream.codecpar->codec_id);
  if (!codec) return MediaStatus::failure("video codec '" + name + "' is not supported");
  decoder_.reset(avcodec_alloc_context3(codec));
  packet_.reset(av_packet_alloc());
  frame_.reset(av_frame_alloc());
  if (!decoder_ || !packet_ || !frame_) return MediaStatus::failure("out of memory");
  const MediaStatus status =
      MediaStatus::fromCode(avcodec_parameters_to_context(decoder_.get(), stream.codecpar), "codec");
  if (!status.ok()) return status;
  decoder_->pkt_timebase = stream.time_base;
  decoder_->thread_count = threads;
  // Frame threads would hold pictures back.
  decoder_->thread_type = FF_THREAD_SLICE;
  converter_.setColors(colors);
  const std::string what = "its " + name + " configuration is refused";
  return MediaStatus::fromCode(avcodec_open2(decoder_.get(), codec, nullptr), what.c_str());
}

MediaStatus PictureDecoder::send(const uint8_t* bytes, size_t size, int64_t pts, int64_t dts, int flags) {
  if (size > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) return MediaStatus::failure("packet too large");
  av_packet_unref(packet_.get());
  const MediaStatus status =
      MediaStatus::fromCode(av_new_packet(packet_.get(), static_cast<int>(size)), "packet of pictures");
  if (!status.ok()) return status;
  std::memcpy(packet_->data, bytes, size);
  packet_->pts = pts;
  packet_->dts = dts;
  packet_->flags = flags;
  return MediaStatus::fromCode(avcodec_send_packet(decoder_.get(), packet_.get()),
                               "damaged packet of pictures");
}

void PictureDecoder::sendEnd() {
  avcodec_send_packet(decoder_.get(), nullptr);
}

bool PictureDecoder::receive() {
  for (int failures = 0; failures < kFailuresMost;) {
    const int code = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return false;
    if (code < 0) {
      lost_++;
      failures++;
      continue;
    }
    if (frame_->flags & AV_FRAME_FLAG_DISCARD) continue;
    picture_ = converter_.convert(*frame_);
    if (picture_) return true;
    lost_++;
  }
  return false;
}

bool PictureDecoder::isDamaged() const {
  return frame_->decode_error_flags != 0 || (frame_->flags & AV_FRAME_FLAG_CORRUPT) != 0;
}

int64_t PictureDecoder::takeLost() {
  const int64_t lost = lost_;
  lost_ = 0;
  return lost;
}

}  // namespace qvs::host

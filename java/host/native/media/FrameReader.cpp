// Decoding a file frame by frame with libavcodec, as a judge apart from the transcoder.
#include "media/FrameReader.h"

namespace qvs::host {

MediaStatus FrameReader::open(const std::string& path) {
  MediaStatus status = file_.open(path);
  if (!status.ok()) return status;
  if (!file_.has(StreamKind::kVideo)) return MediaStatus::failure("no video stream in it");
  file_.ignore(StreamKind::kAudio);
  const AVStream& stream = file_.stream(StreamKind::kVideo);
  const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  if (!codec)
    return MediaStatus::failure(std::string("no decoder for ") + file_.codecName(StreamKind::kVideo));
  decoder_.reset(avcodec_alloc_context3(codec));
  frame_.reset(av_frame_alloc());
  if (!decoder_ || !frame_) return MediaStatus::failure("out of memory");
  status = MediaStatus::fromCode(avcodec_parameters_to_context(decoder_.get(), stream.codecpar), "codec");
  if (!status.ok()) return status;
  decoder_->pkt_timebase = stream.time_base;
  decoder_->thread_count = 1;
  return MediaStatus::fromCode(avcodec_open2(decoder_.get(), codec, nullptr), "cannot open the decoder");
}

MediaStatus FrameReader::next(bool* atEnd) {
  *atEnd = false;
  for (;;) {
    const int code = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (code >= 0) return {};
    if (code == AVERROR_EOF) {
      *atEnd = true;
      return {};
    }
    if (code != AVERROR(EAGAIN)) return MediaStatus::fromCode(code, "decoding stopped");
    MediaStatus status = feed();
    if (!status.ok()) return status;
  }
}

MediaStatus FrameReader::feed() {
  bool atEnd = false;
  MediaStatus status = file_.next(&atEnd);
  if (!status.ok()) return status;
  const int code = avcodec_send_packet(decoder_.get(), atEnd ? nullptr : &file_.packet());
  // Damaged packets are the decoder's to skip; anything else ends the reading.
  return code == AVERROR_INVALIDDATA ? MediaStatus() : MediaStatus::fromCode(code, "decoding stopped");
}

double FrameReader::timeMs() const {
  const AVRational unit = file_.stream(StreamKind::kVideo).time_base;
  return static_cast<double>(frame_->best_effort_timestamp) * av_q2d(unit) * 1000.0;
}

}  // namespace qvs::host

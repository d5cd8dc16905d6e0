#include "media/InputFile.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace qvs::host {

InputFile::~InputFile() {
  avformat_close_input(&format_);
}

MediaStatus InputFile::open(const std::string& path) {
  packet_.reset(av_packet_alloc());
  if (!packet_) return MediaStatus::failure("out of memory");
  MediaStatus status =
      MediaStatus::fromCode(avformat_open_input(&format_, path.c_str(), nullptr, nullptr), "cannot open");
  if (!status.ok()) return status;
  status = MediaStatus::fromCode(avformat_find_stream_info(format_, nullptr), "cannot read the streams");
  if (!status.ok()) return status;
  streamIndex_ = av_find_best_stream(format_, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (streamIndex_ < 0) return MediaStatus::failure("no video stream in it");
  for (unsigned i = 0; i < format_->nb_streams; i++)
    if (static_cast<int>(i) != streamIndex_) format_->streams[i]->discard = AVDISCARD_ALL;
  if (stream().time_base.num <= 0 || stream().time_base.den <= 0)
    return MediaStatus::failure("its video stream has no time base");
  return {};
}

MediaStatus InputFile::next(bool* atEnd) {
  *atEnd = false;
  for (;;) {
    av_packet_unref(packet_.get());
    const int code = av_read_frame(format_, packet_.get());
    if (code == AVERROR_EOF) {
      *atEnd = true;
      return {};
    }
    if (code < 0) return MediaStatus::fromCode(code, "reading stopped");
    if (packet_->stream_index == streamIndex_) break;
  }
  pts_ = timeOf(*packet_);
  nextPts_ = pts_ + (packet_->duration > 0 ? packet_->duration : 1);
  return {};
}

// Some containers (raw streams, AVI) leave the presentation time out; counting on is the best guess then.
int64_t InputFile::timeOf(const AVPacket& packet) const {
  if (packet.pts != AV_NOPTS_VALUE) return packet.pts;
  if (packet.dts != AV_NOPTS_VALUE) return packet.dts;
  return nextPts_;
}

const char* InputFile::codecName() const {
  return avcodec_get_name(stream().codecpar->codec_id);
}

const char* InputFile::pixelFormatName() const {
  const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(stream().codecpar->format));
  return name ? name : "";
}

int64_t InputFile::durationMs() const {
  if (stream().duration != AV_NOPTS_VALUE && stream().duration > 0)
    return av_rescale_q(stream().duration, stream().time_base, {1, 1000});
  if (format_->duration != AV_NOPTS_VALUE && format_->duration > 0)
    return av_rescale(format_->duration, 1000, AV_TIME_BASE);
  return -1;
}

AVRational InputFile::frameRate() const {
  const AVRational rates[] = {stream().avg_frame_rate, stream().r_frame_rate};
  for (const AVRational& rate : rates)
    if (rate.num > 0 && rate.den > 0 && av_q2d(rate) <= 1000) return rate;
  return {0, 1};
}

}  // namespace qvs::host

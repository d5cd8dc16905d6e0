#include "media/OutputFile.h"

#include <climits>
#include <cstring>

namespace qvs::host {

OutputFile::~OutputFile() {
  closeFile();
}

void OutputFile::closeFile() {
  if (!format_) return;
  if (format_->pb) avio_closep(&format_->pb);
  avformat_free_context(format_);
  format_ = nullptr;
}

MediaStatus OutputFile::open(const std::string& path, const std::string& format, const OutputStream& stream) {
  packet_.reset(av_packet_alloc());
  if (!packet_) return MediaStatus::failure("out of memory");
  MediaStatus status = MediaStatus::fromCode(
      avformat_alloc_output_context2(&format_, nullptr, format.c_str(), path.c_str()), "no such container");
  if (!status.ok()) return status;
  status = addStream(stream);
  if (!status.ok()) return status;
  status = MediaStatus::fromCode(avio_open(&format_->pb, path.c_str(), AVIO_FLAG_WRITE), "cannot create");
  if (!status.ok()) return status;
  status = MediaStatus::fromCode(avformat_write_header(format_, nullptr), "cannot write the header");
  headerWritten_ = status.ok();
  return status;
}

MediaStatus OutputFile::addStream(const OutputStream& wanted) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get_by_name(wanted.codecName.c_str());
  if (!codec) return MediaStatus::failure("unknown codec " + wanted.codecName);
  AVStream* stream = avformat_new_stream(format_, nullptr);
  if (!stream) return MediaStatus::failure("out of memory");
  timeBase_ = wanted.timeBase;
  stream->time_base = wanted.timeBase;
  stream->avg_frame_rate = wanted.frameRate;
  stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
  stream->codecpar->codec_id = codec->id;
  stream->codecpar->width = wanted.width;
  stream->codecpar->height = wanted.height;
  return {};
}

MediaStatus OutputFile::write(const uint8_t* bytes, size_t length, int64_t pts, bool key) {
  if (!headerWritten_) return MediaStatus::failure("the file is not open for writing");
  if (length > static_cast<size_t>(INT_MAX)) return MediaStatus::failure("packet too large");
  MediaStatus status =
      MediaStatus::fromCode(av_new_packet(packet_.get(), static_cast<int>(length)), "packet");
  if (!status.ok()) return status;
  if (length) std::memcpy(packet_->data, bytes, length);
  const AVRational unit = format_->streams[0]->time_base;
  packet_->pts = packet_->dts = av_rescale_q(pts, timeBase_, unit);
  packet_->stream_index = 0;
  if (key) packet_->flags |= AV_PKT_FLAG_KEY;
  status = MediaStatus::fromCode(av_write_frame(format_, packet_.get()), "cannot write a packet");
  av_packet_unref(packet_.get());
  return status;
}

MediaStatus OutputFile::finish() {
  if (!headerWritten_) return MediaStatus::failure("the file is not open for writing");
  headerWritten_ = false;
  MediaStatus status = MediaStatus::fromCode(av_write_trailer(format_), "cannot finish the file");
  // A full disk shows only in what was buffered: the I/O context keeps the first error.
  if (status.ok() && format_->pb)
    status = MediaStatus::fromCode(format_->pb->error, "cannot finish the file");
  if (status.ok()) status = MediaStatus::fromCode(avio_closep(&format_->pb), "cannot close the file");
  closeFile();
  return status;
}

}  // namespace qvs::host

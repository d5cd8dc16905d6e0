// Writing coded packets into a container with libavformat: options, codec configurations, display matrices.
#include "media/OutputFile.h"

#include <algorithm>
#include <climits>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/intreadwrite.h>
#include <libavutil/mem.h>
#include <libavutil/opt.h>
}

namespace qvs::host {

namespace {

MediaStatus setConfig(AVCodecParameters* parameters, const std::vector<uint8_t>& config) {
  if (config.empty()) return {};
  parameters->extradata = static_cast<uint8_t*>(av_mallocz(config.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!parameters->extradata) return MediaStatus::failure("out of memory");
  std::memcpy(parameters->extradata, config.data(), config.size());
  parameters->extradata_size = static_cast<int>(config.size());
  return {};
}

MediaStatus markDiscard(AVPacket* packet, int64_t samples) {
  constexpr size_t kSize = 10;
  uint8_t* data = av_packet_new_side_data(packet, AV_PKT_DATA_SKIP_SAMPLES, kSize);
  if (!data) return MediaStatus::failure("out of memory");
  std::memset(data, 0, kSize);
  AV_WL32(data + 4, static_cast<uint32_t>(samples));
  return {};
}

MediaStatus setDisplayMatrix(AVStream* stream, const OutputStream& wanted) {
  if (wanted.display == kDisplayAsCoded) return {};
  const auto& [a, b, c, d] = wanted.display;
  // The turned picture is moved back to where its edges lie on the axes.
  const int64_t width = wanted.width, height = wanted.height;
  const auto moved = [](int64_t across, int64_t down) {
    return static_cast<int32_t>(-(std::min<int64_t>(across, 0) + std::min<int64_t>(down, 0)));
  };
  const int32_t left = moved(a * width, c * height), top = moved(b * width, d * height);
  const int32_t rows[] = {a, b, 0, c, d, 0, left, top, 1 << 30};
  uint8_t* data = av_stream_new_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, sizeof rows);
  if (!data) return MediaStatus::failure("out of memory");
  std::memcpy(data, rows, sizeof rows);
  return {};
}

MediaStatus describeVideo(AVStream* stream, const OutputStream& wanted) {
  AVCodecParameters& parameters = *stream->codecpar;
  // Some containers describe the layout; renditions have no other.
  parameters.format = AV_PIX_FMT_YUV420P;
  parameters.width = wanted.width;
  parameters.height = wanted.height;
  parameters.sample_aspect_ratio = stream->sample_aspect_ratio = wanted.pixelAspect;
  parameters.color_primaries = wanted.primaries;
  parameters.color_trc = wanted.transfer;
  parameters.color_space = wanted.matrix;
  parameters.color_range = wanted.range;
  return setDisplayMatrix(stream, wanted);
}

}  // namespace

OutputFile::~OutputFile() {
  closeFile();
  av_dict_free(&options_);
}

void OutputFile::closeFile() {
  if (!format_) return;
  if (format_->pb) avio_closep(&format_->pb);
  avformat_free_context(format_);
  format_ = nullptr;
}

MediaStatus OutputFile::create(const std::string& path, const std::string& format, bool segmented) {
  interleaves_ = !segmented;
  packet_.reset(av_packet_alloc());
  if (!packet_) return MediaStatus::failure("out of memory");
  MediaStatus status = MediaStatus::fromCode(
      avformat_alloc_output_context2(&format_, nullptr, format.c_str(), path.c_str()), "no such container");
  if (!status.ok()) return status;
  return MediaStatus::fromCode(avio_open(&format_->pb, path.c_str(), AVIO_FLAG_WRITE), "cannot create");
}

void OutputFile::setOption(const std::string& name, const std::string& value) {
  av_dict_set(&options_, name.c_str(), value.c_str(), 0);
}

MediaStatus OutputFile::addStream(const OutputStream& wanted) {
  const AVCodecDescriptor* codec = avcodec_descriptor_get_by_name(wanted.codecName.c_str());
  if (!codec) return MediaStatus::failure("unknown codec " + wanted.codecName);
  AVStream* stream = avformat_new_stream(format_, nullptr);
  if (!stream) return MediaStatus::failure("out of memory");
  tracks_.push_back({wanted.timeBase, shiftOf(wanted)});
  stream->time_base = wanted.timeBase;
  stream->avg_frame_rate = wanted.frameRate;
  AVCodecParameters& parameters = *stream->codecpar;
  parameters.codec_type = wanted.width > 0 ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
  parameters.codec_id = codec->id;
  // The name that says all parameter sets stand in the container's configuration: Apple's players know no other.
  if (codec->id == AV_CODEC_ID_HEVC && isMp4()) parameters.codec_tag = MKTAG('h', 'v', 'c', '1');
  MediaStatus status = wanted.width > 0 ? describeVideo(stream, wanted) : MediaStatus();
  if (!status.ok()) return status;
  parameters.sample_rate = wanted.sampleRate;
  parameters.frame_size = wanted.frameSamples;
  parameters.initial_padding = wanted.delaySamples;
  if (wanted.channels > 0) av_channel_layout_default(&parameters.ch_layout, wanted.channels);
  return setConfig(&parameters, wanted.config);
}

bool OutputFile::isMp4() const {
  return std::strcmp(format_->oformat->name, "mp4") == 0;
}

// Matroska counts from the first coded sample, and its muxer leaves the delay to be added.
int64_t OutputFile::shiftOf(const OutputStream& stream) const {
  const bool matroska = std::strstr("webm matroska", format_->oformat->name) != nullptr;
  if (!matroska || stream.delaySamples <= 0 || stream.sampleRate <= 0) return 0;
  return av_rescale_q(stream.delaySamples, {1, stream.sampleRate}, stream.timeBase);
}

MediaStatus OutputFile::begin(bool keepTimes) {
  if (keepTimes) format_->avoid_negative_ts = 0;
  const MediaStatus status =
      MediaStatus::fromCode(avformat_write_header(format_, &options_), "cannot write the header");
  headerWritten_ = status.ok();
  if (status.ok() && av_dict_count(options_) > 0)
    return MediaStatus::failure(std::string("no such setting: ") +
                                av_dict_get(options_, "", nullptr, AV_DICT_IGNORE_SUFFIX)->key);
  return status;
}

MediaStatus OutputFile::fill(const OutputPacket& from) {
  MediaStatus status =
      MediaStatus::fromCode(av_new_packet(packet_.get(), static_cast<int>(from.length)), "packet");
  if (!status.ok()) return status;
  if (from.length) std::memcpy(packet_->data, from.bytes, from.length);
  const AVRational unit = format_->streams[from.stream]->time_base;
  const auto& [given, shift] = tracks_[from.stream];
  packet_->pts = av_rescale_q(from.pts + shift, given, unit);
  packet_->dts = av_rescale_q(from.dts + shift, given, unit);
  packet_->duration = av_rescale_q(from.duration, given, unit);
  packet_->stream_index = static_cast<int>(from.stream);
  if (from.key) packet_->flags |= AV_PKT_FLAG_KEY;
  return from.discard > 0 ? markDiscard(packet_.get(), from.discard) : MediaStatus();
}

MediaStatus OutputFile::write(const OutputPacket& packet) {
  if (!headerWritten_) return MediaStatus::failure("the file is not open for writing");
  if (packet.stream >= tracks_.size()) return MediaStatus::failure("no such stream");
  if (packet.length > static_cast<size_t>(INT_MAX)) return MediaStatus::failure("packet too large");
  MediaStatus status = fill(packet);
  if (status.ok()) {
    const bool inOrder = tracks_.size() == 1 || !interleaves_;
    const int code =
        inOrder ? av_write_frame(format_, packet_.get()) : av_interleaved_write_frame(format_, packet_.get());
    status = MediaStatus::fromCode(code, "cannot write a packet");
  }
  av_packet_unref(packet_.get());
  return status;
}

// A full disk shows only in what was buffered: the I/O context keeps the first error.
MediaStatus OutputFile::closeIo() {
  if (!format_->pb) return {};
  avio_flush(format_->pb);
  const MediaStatus status = MediaStatus::fromCode(format_->pb->error, "cannot write");
  const MediaStatus closed = MediaStatus::fromCode(avio_closep(&format_->pb), "cannot close");
  return status.ok() ? closed : status;
}

MediaStatus OutputFile::cut(const std::string& nextPath) {
  if (!headerWritten_) return MediaStatus::failure("the file is not open for writing");
  MediaStatus status = MediaStatus::fromCode(av_write_frame(format_, nullptr), "cannot write");
  const MediaStatus closed = closeIo();
  if (status.ok()) status = closed;
  if (status.ok()) status = openNext(nextPath);
  headerWritten_ = status.ok();
  return status;
}

MediaStatus OutputFile::openNext(const std::string& path) {
  // The tables that a segment begins with; and its fragment's own time, not the sum of those before.
  if (isMp4())
    av_opt_set(format_->priv_data, "movflags", "+frag_discont", 0);
  else
    av_opt_set(format_->priv_data, "mpegts_flags", "resend_headers", 0);
  return MediaStatus::fromCode(avio_open(&format_->pb, path.c_str(), AVIO_FLAG_WRITE), "cannot create");
}

MediaStatus OutputFile::finish() {
  if (!headerWritten_) return MediaStatus::failure("the file is not open for writing");
  headerWritten_ = false;
  MediaStatus status = MediaStatus::fromCode(av_write_trailer(format_), "cannot finish the file");
  const MediaStatus closed = closeIo();
  if (status.ok()) status = closed;
  closeFile();
  return status;
}

}  // namespace qvs::host

// Reading a media file's packets with libavformat: choosing streams, times from zero, codec configurations.
#include "media/InputFile.h"

#include "media/FormatLists.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavutil/intreadwrite.h>
#include <libavutil/parseutils.h>
#include <libavutil/pixdesc.h>
}

namespace qvs::host {

namespace {

constexpr StreamKind kKinds[] = {StreamKind::kVideo, StreamKind::kAudio};
// Lengths in headers are rounded and count a last picture in one way or another.
// libavformat reads so much of a stream before it says what is in it.
constexpr int64_t kLookUs = 5'000'000;
constexpr int64_t kShortfallMs = 500, kShortfallShare = 100;

// Some containers (raw streams, AVI) leave the presentation time out; counting on is the best guess then.
int64_t timeOf(const AVPacket& packet, int64_t guess, InputFile::TimeKind* kind) {
  *kind = InputFile::TimeKind::kShown;
  if (packet.pts != AV_NOPTS_VALUE) return packet.pts;
  *kind = InputFile::TimeKind::kDecoded;
  if (packet.dts != AV_NOPTS_VALUE) return packet.dts;
  *kind = InputFile::TimeKind::kGuessed;
  return guess;
}

bool isTimed(const AVStream& stream) {
  return stream.time_base.num > 0 && stream.time_base.den > 0;
}

}  // namespace

InputFile::~InputFile() {
  avformat_close_input(&format_);
}

MediaStatus InputFile::open(const InputRequest& request) {
  packet_.reset(av_packet_alloc());
  if (!packet_) return MediaStatus::failure("out of memory");
  MediaStatus status = openContainer(request);
  if (!status.ok()) return status;
  format_->flags |= AVFMT_FLAG_GENPTS;
  watch_.begin(kLookUs);
  status = failed(avformat_find_stream_info(format_, nullptr), "cannot read the streams");
  endless_ = request.patienceMs > 0 && (format_->duration == AV_NOPTS_VALUE || format_->duration <= 0 ||
                                        format_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE);
  countsFromStart_ = request.live || endless_;
  return status.ok() ? select() : status;
}

MediaStatus InputFile::openContainer(const InputRequest& request) {
  format_ = avformat_alloc_context();
  if (!format_) return MediaStatus::failure("out of memory");
  if (request.live) {
    const MediaStatus status = live_.open(request.address);
    if (!status.ok()) return status;
    format_->pb = live_.context();
  }
  if (request.patienceMs > 0) watch_.guard(format_, request.patienceMs);
  const AVInputFormat* demuxer =
      request.demuxer.empty() ? nullptr : av_find_input_format(request.demuxer.c_str());
  AVDictionary* options = nullptr;
  av_dict_parse_string(&options, request.options.c_str(), "=", "\n", 0);
  if (!request.anyFormat) FormatLists::apply(&options, request.patienceMs > 0);
  watch_.begin();
  const int code = avformat_open_input(&format_, request.address.c_str(), demuxer, &options);
  av_dict_free(&options);
  if ((code == AVERROR_INVALIDDATA || code == AVERROR(EINVAL)) && !request.anyFormat && !request.live &&
      request.patienceMs == 0) {
    const std::string other = FormatLists::leftOut(request.address);
    if (!other.empty())
      return MediaStatus::failure("format " + other + " is not taken, --allow-any-format takes it");
  }
  return failed(code, "cannot open");
}

// What a wait that was ended is called by libavformat tells nobody anything.
MediaStatus InputFile::failed(int code, const char* what) const {
  if (code == AVERROR_EXIT && watch_.isStopped()) return MediaStatus::failure("interrupted");
  if (code < 0 && watch_.isOutOfPatience())
    return MediaStatus::failure("nothing came for " + watch_.patienceText() + " s");
  return MediaStatus::fromCode(code, what);
}

void InputFile::stop() {
  live_.stop();
  watch_.stop();
}

// A feed may have run for days before it is joined: files are not to start with as long a gap.
void InputFile::countFromStart(StreamKind kind) {
  if (format_->start_time != AV_NOPTS_VALUE)
    selected(kind).origin = av_rescale_q(format_->start_time, {1, AV_TIME_BASE}, stream(kind).time_base);
}

MediaStatus InputFile::select() {
  for (unsigned i = 0; i < format_->nb_streams; i++) {
    AVStream& stream = *format_->streams[i];
    stream.discard = AVDISCARD_ALL;
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && isTimed(stream)) audioTracks_.push_back(i);
  }
  const int video = av_find_best_stream(format_, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  // A cover picture beside sound is no video.
  if (video >= 0 && isTimed(*format_->streams[video]) &&
      !(format_->streams[video]->disposition & AV_DISPOSITION_ATTACHED_PIC))
    take(StreamKind::kVideo, video);
  if (!audioTracks_.empty()) take(StreamKind::kAudio, firstAudioOf(selected(StreamKind::kVideo).index));
  if (!has(StreamKind::kVideo) && !has(StreamKind::kAudio))
    return MediaStatus::failure("no video or audio stream in it");
  return {};
}

void InputFile::take(StreamKind kind, int index) {
  format_->streams[index]->discard = AVDISCARD_DEFAULT;
  selected(kind).index = index;
  if (countsFromStart_) countFromStart(kind);
}

// A transmission may hold several programs.
int InputFile::firstAudioOf(int video) const {
  const AVProgram* program = video < 0 ? nullptr : av_find_program_from_stream(format_, nullptr, video);
  for (unsigned i = 0; program && i < program->nb_stream_indexes; i++)
    if (std::find(audioTracks_.begin(), audioTracks_.end(), program->stream_index[i]) != audioTracks_.end())
      return static_cast<int>(program->stream_index[i]);
  return static_cast<int>(audioTracks_.front());
}

int InputFile::selectedAudio() const {
  const int index = selected(StreamKind::kAudio).index;
  const auto found = std::find(audioTracks_.begin(), audioTracks_.end(), static_cast<unsigned>(index));
  return index < 0 ? -1 : static_cast<int>(found - audioTracks_.begin());
}

void InputFile::selectAudio(size_t track) {
  ignore(StreamKind::kAudio);
  take(StreamKind::kAudio, static_cast<int>(audioTracks_[track]));
}

std::string InputFile::language(size_t track) const {
  const AVDictionaryEntry* tag = av_dict_get(audioTrack(track).metadata, "language", nullptr, 0);
  return tag ? tag->value : "";
}

void InputFile::ignore(StreamKind kind) {
  if (!has(kind)) return;
  format_->streams[selected(kind).index]->discard = AVDISCARD_ALL;
  selected(kind).index = -1;
}

bool InputFile::ofSelected(int streamIndex) {
  for (const StreamKind kind : kKinds) {
    if (selected(kind).index != streamIndex) continue;
    kind_ = kind;
    return true;
  }
  return false;
}

MediaStatus InputFile::next(bool* atEnd) {
  *atEnd = false;
  do {
    av_packet_unref(packet_.get());
    watch_.begin();
    const int code = av_read_frame(format_, packet_.get());
    // What a read that was ended has left of a packet is none.
    if (code == AVERROR_EOF || watch_.isEnded()) {
      *atEnd = true;
      return {};
    }
    if (code < 0) return failed(code, "reading stopped");
  } while (!ofSelected(packet_->stream_index));
  Selected& of = selected(kind_);
  of.pts = timeOf(*packet_, of.nextPts + of.origin, &timeKind_) - of.origin;
  of.nextPts = of.pts + stepOf(*packet_);
  noteEnd(of);
  return {};
}

bool InputFile::isSearchable() const {
  return !countsFromStart_ && format_->pb && (format_->pb->seekable & AVIO_SEEKABLE_NORMAL) &&
         !(format_->iformat->flags & (AVFMT_NOTIMESTAMPS | AVFMT_GENERIC_INDEX));
}

MediaStatus InputFile::seek(int64_t pts) {
  if (!has(StreamKind::kVideo)) return MediaStatus::failure("no pictures in it");
  Selected& video = selected(StreamKind::kVideo);
  if (av_seek_frame(format_, video.index, pts + video.origin, AVSEEK_FLAG_BACKWARD) >= 0) return {};
  const int code = avformat_seek_file(format_, video.index, INT64_MIN, INT64_MIN, INT64_MAX, 0);
  if (code >= 0) return {};
  return MediaStatus::fromCode(avformat_seek_file(format_, -1, INT64_MIN, 0, INT64_MAX, AVSEEK_FLAG_BYTE),
                               "cannot be searched");
}

void InputFile::noteEnd(Selected& of) {
  of.end = std::max(of.end, of.nextPts);
  of.cut = packet_->flags & AV_PKT_FLAG_CORRUPT;
}

bool InputFile::isReadWhole() const {
  for (unsigned i = 0; i < format_->nb_streams; i++) {
    const bool read = std::any_of(selected_.begin(), selected_.end(),
                                  [i](const Selected& of) { return of.index == static_cast<int>(i); });
    if (!read && !(format_->streams[i]->disposition & AV_DISPOSITION_ATTACHED_PIC)) return false;
  }
  return true;
}

// Where the length of a stream was only guessed, or may be that of a stream that is left out, nothing is
// promised.
int64_t InputFile::promisedMs(StreamKind kind) const {
  if (format_->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) return -1;
  const AVStream& of = stream(kind);
  if (of.duration != AV_NOPTS_VALUE && of.duration > 0)
    return av_rescale_q(of.duration, of.time_base, {1, 1000});
  int64_t microseconds = 0;
  const AVDictionaryEntry* tag = av_dict_get(of.metadata, "DURATION", nullptr, 0);
  if (tag && av_parse_time(&microseconds, tag->value, 1) >= 0) return microseconds / 1000;
  return format_->duration > 0 && isReadWhole() ? av_rescale(format_->duration, 1000, AV_TIME_BASE) : -1;
}

std::string InputFile::shortfall() const {
  int64_t reached = 0, promised = -1;
  bool cut = false;
  for (const StreamKind kind : kKinds) {
    if (!has(kind) || selected(kind).end == INT64_MIN) continue;
    const int64_t end = av_rescale_q(selected(kind).end, stream(kind).time_base, {1, 1000});
    const int64_t wanted = promisedMs(kind);
    reached = std::max(reached, end);
    cut |= selected(kind).cut;
    if (wanted - end > std::max<int64_t>(kShortfallMs, wanted / kShortfallShare))
      promised = std::max(promised, wanted);
  }
  // A recording of a transmission starts and ends anywhere.
  cut &= std::strcmp(format_->iformat->name, "mpegts") != 0;
  if (promised < 0 && !cut) return {};
  char text[96];
  if (promised < 0)
    std::snprintf(text, sizeof text, "ended early at %.1f s, within a packet",
                  static_cast<double>(reached) / 1000);
  else
    std::snprintf(text, sizeof text, "ended early at %.1f s of %.1f s", static_cast<double>(reached) / 1000,
                  static_cast<double>(promised) / 1000);
  return text;
}

int64_t InputFile::stepOf(const AVPacket& packet) const {
  if (packet.duration > 0) return packet.duration;
  const AVRational rate = kind_ == StreamKind::kVideo ? frameRate() : AVRational{0, 1};
  return rate.num > 0 ? std::max<int64_t>(1, av_rescale_q(1, av_inv_q(rate), stream(kind_).time_base)) : 1;
}

const uint8_t* InputFile::newConfig(size_t* size) const {
  return av_packet_get_side_data(packet_.get(), AV_PKT_DATA_NEW_EXTRADATA, size);
}

InputFile::Padding InputFile::padding() const {
  const AVCodecParameters& codec = *stream(kind_).codecpar;
  size_t size = 0;
  const uint8_t* data = av_packet_get_side_data(packet_.get(), AV_PKT_DATA_SKIP_SAMPLES, &size);
  if (data && size >= 8) return {AV_RL32(data), AV_RL32(data + 4)};
  // What lies outside of the shown part of the file is hidden whole.
  if (packet_->flags & AV_PKT_FLAG_DISCARD && codec.sample_rate > 0)
    return {0, static_cast<uint32_t>(
                   av_rescale_q(packet_->duration, stream(kind_).time_base, {1, codec.sample_rate}))};
  return {};
}

const char* InputFile::codecName(StreamKind kind) const {
  return avcodec_get_name(stream(kind).codecpar->codec_id);
}

const char* InputFile::pixelFormatName() const {
  const AVCodecParameters& video = *stream(StreamKind::kVideo).codecpar;
  const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(video.format));
  return name ? name : "";
}

int64_t InputFile::durationMs(const AVStream& of) const {
  if (of.duration != AV_NOPTS_VALUE && of.duration > 0)
    return av_rescale_q(of.duration, of.time_base, {1, 1000});
  if (format_->duration != AV_NOPTS_VALUE && format_->duration > 0)
    return av_rescale(format_->duration, 1000, AV_TIME_BASE);
  return -1;
}

AVRational InputFile::pixelAspect() const {
  AVStream* video = format_->streams[selected(StreamKind::kVideo).index];
  const AVRational aspect = av_guess_sample_aspect_ratio(format_, video, nullptr);
  return aspect.num > 0 && aspect.den > 0 ? aspect : AVRational{0, 1};
}

int64_t InputFile::bitRate() const {
  const int64_t own = stream(StreamKind::kVideo).codecpar->bit_rate;
  return std::max<int64_t>(0, own > 0 ? own : format_->bit_rate);
}

bool InputFile::fullRange() const {
  const AVCodecParameters& video = *stream(StreamKind::kVideo).codecpar;
  if (video.color_range != AVCOL_RANGE_UNSPECIFIED) return video.color_range == AVCOL_RANGE_JPEG;
  return std::strncmp(pixelFormatName(), "yuvj", 4) == 0;
}

bool InputFile::hasChroma() const {
  const auto format = static_cast<AVPixelFormat>(stream(StreamKind::kVideo).codecpar->format);
  const AVPixFmtDescriptor* form = av_pix_fmt_desc_get(format);
  return !form || (form->nb_components >= 3 && !(form->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)));
}

DisplayMatrix InputFile::displayMatrix() const {
  size_t size = 0;
  const uint8_t* data =
      av_stream_get_side_data(&stream(StreamKind::kVideo), AV_PKT_DATA_DISPLAYMATRIX, &size);
  int32_t rows[9];
  if (!data || size < sizeof rows) return kDisplayAsCoded;
  std::memcpy(rows, data, sizeof rows);
  // One that flattens the picture is damaged.
  if (int64_t{rows[0]} * rows[4] == int64_t{rows[1]} * rows[3]) return kDisplayAsCoded;
  return {rows[0], rows[1], rows[3], rows[4]};
}

AVRational InputFile::frameRate() const {
  const AVStream& video = stream(StreamKind::kVideo);
  const AVRational rates[] = {video.avg_frame_rate, video.r_frame_rate};
  for (const AVRational& rate : rates)
    if (rate.num > 0 && rate.den > 0 && av_q2d(rate) <= 1000) return rate;
  return {0, 1};
}

}  // namespace qvs::host

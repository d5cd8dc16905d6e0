#include "LibavDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace qvs::test {

namespace {

struct Source {
  const std::vector<uint8_t>& bytes;
  size_t at = 0;

  static int read(void* opaque, uint8_t* target, int size) {
    Source& self = *static_cast<Source*>(opaque);
    const size_t count = std::min<size_t>(static_cast<size_t>(size), self.bytes.size() - self.at);
    if (count == 0) return AVERROR_EOF;
    std::memcpy(target, self.bytes.data() + self.at, count);
    self.at += count;
    return static_cast<int>(count);
  }
};

/// All that libav wants freed.
struct Session {
  AVIOContext* io = nullptr;
  AVFormatContext* format = nullptr;
  AVCodecContext* codec = nullptr;
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();

  ~Session() {
    avcodec_free_context(&codec);
    avformat_close_input(&format);
    if (io != nullptr) av_freep(&io->buffer);
    avio_context_free(&io);
    av_packet_free(&packet);
    av_frame_free(&frame);
  }
};

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

void append(AudioClip& clip, const AVFrame& frame) {
  clip.channels = static_cast<uint32_t>(frame.ch_layout.nb_channels);
  clip.sampleRate = static_cast<uint32_t>(frame.sample_rate);
  require(frame.format == AV_SAMPLE_FMT_FLTP, "the decoder gives another sample format");
  for (int i = 0; i < frame.nb_samples; ++i) {
    for (uint32_t channel = 0; channel < clip.channels; ++channel) {
      const float value = reinterpret_cast<const float*>(frame.extended_data[channel])[i] * 32768.0f;
      clip.samples.push_back(static_cast<int16_t>(std::clamp(std::lround(value), -32768l, 32767l)));
    }
  }
}

}  // namespace

AudioClip decodeFile(const std::vector<uint8_t>& bytes, const std::string& format, int64_t* start) {
  av_log_set_level(AV_LOG_ERROR);
  constexpr int kIoBytes = 4096;
  Source source{bytes};
  Session s;
  s.io = avio_alloc_context(static_cast<uint8_t*>(av_malloc(kIoBytes)), kIoBytes, 0, &source, Source::read,
                            nullptr, nullptr);
  s.format = avformat_alloc_context();
  s.format->pb = s.io;
  require(avformat_open_input(&s.format, nullptr, av_find_input_format(format.c_str()), nullptr) == 0,
          "not a file of this format");
  require(avformat_find_stream_info(s.format, nullptr) >= 0 && s.format->nb_streams == 1, "no stream");
  const AVStream& stream = *s.format->streams[0];
  const AVCodec* decoder = avcodec_find_decoder(stream.codecpar->codec_id);
  s.codec = avcodec_alloc_context3(decoder);
  avcodec_parameters_to_context(s.codec, stream.codecpar);
  s.codec->pkt_timebase = stream.time_base;
  require(avcodec_open2(s.codec, decoder, nullptr) == 0, "no decoder");
  AudioClip clip;
  bool ended = false;
  bool first = true;
  while (!ended) {
    ended = av_read_frame(s.format, s.packet) < 0;
    require(avcodec_send_packet(s.codec, ended ? nullptr : s.packet) == 0, "a packet isn't decoded");
    av_packet_unref(s.packet);
    while (avcodec_receive_frame(s.codec, s.frame) == 0) {
      if (first && start != nullptr) {
        *start = av_rescale_q(s.frame->pts, stream.time_base, {1, s.frame->sample_rate});
      }
      first = false;
      append(clip, *s.frame);
    }
  }
  return clip;
}

std::vector<uint8_t> joined(const std::vector<Unit>& units) {
  std::vector<uint8_t> bytes;
  for (const Unit& unit : units) bytes.insert(bytes.end(), unit.bytes.begin(), unit.bytes.end());
  return bytes;
}

}  // namespace qvs::test

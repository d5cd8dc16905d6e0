#include "support/MpegAudio.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <stdexcept>

#include "support/CodedAudio.h"

namespace qvs::test {

namespace {

constexpr size_t kAdtsHeader = 7;

/// One encoder of libavcodec and what it works on.
class Encoder {
 public:
  Encoder(const std::string& name, uint32_t sampleRate, uint32_t channels) {
    const AVCodec* codec = avcodec_find_encoder_by_name(name.c_str());
    context = avcodec_alloc_context3(codec);
    context->sample_rate = static_cast<int>(sampleRate);
    context->sample_fmt = codec->sample_fmts[0];
    context->bit_rate = 96000 * channels;
    context->time_base = {1, context->sample_rate};
    av_channel_layout_default(&context->ch_layout, static_cast<int>(channels));
    if (avcodec_open2(context, codec, nullptr) < 0) throw std::runtime_error("encoder " + name);
  }
  ~Encoder() {
    avcodec_free_context(&context);
    av_frame_free(&frame);
    av_packet_free(&packet);
  }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  void add(const std::vector<int16_t>& audio, int64_t from, AudioFile& file) {
    frame->format = context->sample_fmt;
    frame->nb_samples = context->frame_size;
    frame->sample_rate = context->sample_rate;
    frame->pts = from;
    av_channel_layout_copy(&frame->ch_layout, &context->ch_layout);
    av_frame_get_buffer(frame, 0);
    const int channels = context->ch_layout.nb_channels;
    for (int i = 0; i < frame->nb_samples * channels; ++i) {
      put(i / channels, i % channels, audio[static_cast<size_t>(from * channels + i)]);
    }
    avcodec_send_frame(context, frame);
    av_frame_unref(frame);
    while (avcodec_receive_packet(context, packet) == 0) {
      file.packets.push_back({{packet->data, packet->data + packet->size}, 0});
      av_packet_unref(packet);
    }
  }

  AVCodecContext* context = nullptr;

 private:
  void put(int index, int channel, int16_t sample) {
    uint8_t* plane = frame->extended_data[av_sample_fmt_is_planar(context->sample_fmt) ? channel : 0];
    if (context->sample_fmt == AV_SAMPLE_FMT_S16) {
      reinterpret_cast<int16_t*>(plane)[index * context->ch_layout.nb_channels + channel] = sample;
    } else if (context->sample_fmt == AV_SAMPLE_FMT_S32P) {
      reinterpret_cast<int32_t*>(plane)[index] = sample * 65536;
    } else {
      reinterpret_cast<float*>(plane)[index] = sample / 32768.0f;
    }
  }

  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
};

}  // namespace

AudioFile makeMpegAudio(const std::string& name, uint32_t sampleRate, uint32_t channels, uint32_t samples) {
  av_log_set_level(AV_LOG_QUIET);
  AudioFile file;
  file.codec = name == "libmp3lame" ? "mp3" : name;
  file.sampleRate = sampleRate;
  file.channels = channels;
  Encoder encoder(name, sampleRate, channels);
  const int64_t step = encoder.context->frame_size;
  const auto audio = makeSamples(sampleRate, channels, samples + static_cast<uint32_t>(step));
  for (int64_t from = 0; from < samples; from += step) encoder.add(audio, from, file);
  if (name == "aac") {
    file.config.assign(encoder.context->extradata,
                       encoder.context->extradata + encoder.context->extradata_size);
  }
  for (size_t i = 0; i < file.packets.size(); ++i) {
    file.packets[i].timecodeMs = 1000.0 * static_cast<double>(i) * static_cast<double>(step) / sampleRate;
  }
  return file;
}

void removeAdtsHeaders(AudioFile& file) {
  if (file.codec != "aac" || !file.config.empty()) return;
  for (AudioPacket& packet : file.packets) {
    auto& bytes = packet.bytes;
    if (bytes.size() < kAdtsHeader || bytes[0] != 0xFF) continue;
    const int objectType = (bytes[2] >> 6) + 1, rate = bytes[2] >> 2 & 15,
              channels = (bytes[2] & 1) << 2 | bytes[3] >> 6;
    file.config = {static_cast<uint8_t>(objectType << 3 | rate >> 1),
                   static_cast<uint8_t>(rate << 7 | channels << 3)};
    bytes.erase(bytes.begin(), bytes.begin() + (bytes[1] & 1 ? 7 : 9));
  }
}

std::vector<uint8_t> joinPackets(const AudioFile& file) {
  std::vector<uint8_t> all;
  for (const AudioPacket& packet : file.packets)
    all.insert(all.end(), packet.bytes.begin(), packet.bytes.end());
  return all;
}

MpegAudioRun::MpegAudioRun(const std::string& codec) : AudioDecoderRun(makeAudioDecoder(codec)) {
  decoder().setLogger(collector.get());
}

MpegAudioRun::MpegAudioRun(const AudioFile& file, int64_t scaleChannels) : MpegAudioRun(file.codec) {
  decoder().setParameterValue(0, scaleChannels);
  opened = open(file);
}

std::string MpegAudioRun::log() {
  std::vector<LogStatement> statements;
  collector->getLogStatements(statements);
  std::string text;
  for (const LogStatement& statement : statements) text += statement.str + "\n";
  return text;
}

std::vector<int16_t> decodeAudio(const AudioFile& file) {
  MpegAudioRun run(file);
  run.feedAll(file);
  return run.samples;
}

}  // namespace qvs::test

// The least that any program can do to make the audio renditions: libopus, libswresample and
// libavcodec's AAC encoder called directly with the settings of a session, one packet at a time.
//
//   qvs-bench-audio-floor INPUT.opus

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}
#include <opus.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "audio/AudioSpec.h"
#include "audio/OpusFile.h"

namespace qvs::bench {
namespace {

constexpr int kBlock = kSourceRate * kPacketMs / 1000;
constexpr int kPacketBytesMost = 3828;

void check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "qvs-bench-audio-floor: %s failed\n", what);
  std::exit(1);
}

struct Count {
  size_t bytes = 0;
  size_t packets = 0;
};

class AacFloor {
 public:
  AacFloor() {
    const AVCodec* codec = avcodec_find_encoder_by_name("aac");
    check(codec != nullptr, "avcodec_find_encoder_by_name");
    context = avcodec_alloc_context3(codec);
    context->thread_count = 1;
    context->sample_fmt = AV_SAMPLE_FMT_FLTP;
    context->sample_rate = kAacRate;
    context->time_base = {1, static_cast<int>(kAacRate)};
    context->bit_rate = kAacBitrate;
    context->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
    av_opt_set_int(context->priv_data, "aac_tns", 1, 0);
    av_opt_set(context->priv_data, "aac_coder", "fast", 0);  // what the session takes at this rate
    check(avcodec_open2(context, codec, nullptr) == 0, "avcodec_open2");
    packet = av_packet_alloc();
    frame = av_frame_alloc();
    frame->format = AV_SAMPLE_FMT_FLTP;
    frame->sample_rate = kAacRate;
    frame->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
    frame->nb_samples = kAacFrame;
    check(av_frame_get_buffer(frame, 0) == 0, "av_frame_get_buffer");
  }
  ~AacFloor() {
    avcodec_free_context(&context);
    av_packet_free(&packet);
    av_frame_free(&frame);
  }
  AacFloor(const AacFloor&) = delete;
  AacFloor& operator=(const AacFloor&) = delete;

  void add(const int16_t* samples, int count) {
    while (count > 0) {
      const int now = std::min(count, static_cast<int>(kAacFrame) - filled);
      for (uint32_t channel = 0; channel < kChannels; ++channel) {
        float* plane = reinterpret_cast<float*>(frame->data[channel]) + filled;
        for (int i = 0; i < now; ++i) {
          plane[i] = static_cast<float>(samples[static_cast<uint32_t>(i) * kChannels + channel]) / 32768.0f;
        }
      }
      samples += now * static_cast<int>(kChannels);
      count -= now;
      filled += now;
      if (filled == kAacFrame) encode();
    }
  }

  Count count;

 private:
  void encode() {
    frame->pts = taken;
    taken += kAacFrame;
    filled = 0;
    check(avcodec_send_frame(context, frame) == 0, "avcodec_send_frame");
    while (avcodec_receive_packet(context, packet) == 0) {
      count.bytes += static_cast<size_t>(packet->size);
      ++count.packets;
      av_packet_unref(packet);
    }
    av_frame_make_writable(frame);
  }

  AVCodecContext* context = nullptr;
  AVPacket* packet = nullptr;
  AVFrame* frame = nullptr;
  int filled = 0;
  int64_t taken = 0;
};

SwrContext* openResampler() {
  SwrContext* swr = nullptr;
  AVChannelLayout layout = AV_CHANNEL_LAYOUT_STEREO;
  swr_alloc_set_opts2(&swr, &layout, AV_SAMPLE_FMT_S16, kAacRate, &layout, AV_SAMPLE_FMT_S16, kSourceRate, 0,
                      nullptr);
  av_opt_set_int(swr, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
  av_opt_set_int(swr, "filter_size", 64, 0);
  av_opt_set_double(swr, "cutoff", 0.95, 0);
  check(swr_init(swr) == 0, "swr_init");
  return swr;
}

void transcode(const OpusFile& file) {
  int error = 0;
  OpusDecoder* decoder = opus_decoder_create(kSourceRate, kChannels, &error);
  check(error == OPUS_OK, "opus_decoder_create");
  OpusEncoder* encoder = opus_encoder_create(kSourceRate, kChannels, OPUS_APPLICATION_AUDIO, &error);
  check(error == OPUS_OK, "opus_encoder_create");
  opus_encoder_ctl(encoder, OPUS_SET_BITRATE(static_cast<opus_int32>(kOpusBitrate)));
  SwrContext* swr = openResampler();
  AacFloor aac;
  Count opus;
  std::vector<int16_t> decoded(kBlock * kChannels), resampled(2 * kBlock * kChannels);
  std::vector<uint8_t> coded(kPacketBytesMost);
  for (const Packet& packet : file.packets) {
    const int count = opus_decode(decoder, packet.data(), static_cast<opus_int32>(packet.size()),
                                  decoded.data(), kBlock, 0);
    check(count == kBlock, "opus_decode");
    const auto* from = reinterpret_cast<const uint8_t*>(decoded.data());
    auto* to = reinterpret_cast<uint8_t*>(resampled.data());
    aac.add(resampled.data(), swr_convert(swr, &to, 2 * kBlock, &from, count));
    const int size = opus_encode(encoder, decoded.data(), kBlock, coded.data(), kPacketBytesMost);
    check(size > 0, "opus_encode");
    opus.bytes += static_cast<size_t>(size);
    ++opus.packets;
  }
  std::printf("{\"aac_bytes\": %zu, \"opus_bytes\": %zu, \"aac_packets\": %zu, \"opus_packets\": %zu}\n",
              aac.count.bytes, opus.bytes, aac.count.packets, opus.packets);
  swr_free(&swr);
  opus_decoder_destroy(decoder);
  opus_encoder_destroy(encoder);
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s INPUT.opus\n", argv[0]);
    return 2;
  }
  qvs::bench::transcode(qvs::bench::OpusFile(argv[1]));
  return 0;
}

#include "support/AudioFile.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace qvs::test {

namespace {

struct FormatClose {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct PacketFree {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

}  // namespace

AudioFile readAudioFile(const std::string& path) {
  AudioFile file;
  AVFormatContext* opened = nullptr;
  av_log_set_level(AV_LOG_QUIET);
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) != 0) return file;
  const std::unique_ptr<AVFormatContext, FormatClose> context(opened);
  if (avformat_find_stream_info(opened, nullptr) < 0) return file;
  const int index = av_find_best_stream(opened, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (index < 0) return file;
  const AVStream& stream = *opened->streams[index];
  const AVCodecParameters& parameters = *stream.codecpar;
  file.codec = avcodec_get_name(parameters.codec_id);
  if (parameters.extradata_size > 0) {
    file.config.assign(parameters.extradata, parameters.extradata + parameters.extradata_size);
  }
  file.sampleRate = static_cast<uint32_t>(parameters.sample_rate);
  file.channels = static_cast<uint32_t>(parameters.ch_layout.nb_channels);
  file.leadIn = static_cast<uint32_t>(parameters.initial_padding);
  const std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
  for (; av_read_frame(opened, packet.get()) >= 0; av_packet_unref(packet.get())) {
    if (packet->stream_index != index) continue;
    file.packets.push_back({{packet->data, packet->data + packet->size},
                            static_cast<double>(packet->pts) * av_q2d(stream.time_base) * 1000});
  }
  return file;
}

std::vector<int16_t> decodeWithFfmpeg(const std::string& path, const std::string& inputOptions) {
  const std::string command =
      "ffmpeg -nostdin -v quiet " + inputOptions + " -i '" + path + "' -map 0:a:0 -f s16le -c:a pcm_s16le -";
  std::vector<int16_t> samples;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return samples;
  int16_t part[4096];
  while (const size_t count = fread(part, sizeof part[0], std::size(part), pipe)) {
    samples.insert(samples.end(), part, part + count);
  }
  pclose(pipe);
  return samples;
}

double snrDb(std::span<const int16_t> reference, std::span<const int16_t> samples) {
  double signal = 0, noise = 0;
  for (size_t i = 0; i < std::min(reference.size(), samples.size()); ++i) {
    const double expected = reference[i], difference = expected - samples[i];
    signal += expected * expected;
    noise += difference * difference;
  }
  return noise == 0 ? 200 : 10 * std::log10(signal / noise);
}

std::string mediaFolder() {
  const char* folder = std::getenv("QVS_MEDIA");
  return folder != nullptr && *folder != 0 ? std::string(folder) + "/" : std::string();
}

}  // namespace qvs::test

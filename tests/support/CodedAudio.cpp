#include "support/CodedAudio.h"

#include <opus/opus.h>
#include <speex/speex.h>
#include <vorbis/vorbisenc.h>

#include <cmath>
#include <cstring>

namespace qvs::test {

namespace {

void put(std::vector<uint8_t>& bytes, uint32_t at, uint32_t value) {
  for (uint32_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

std::vector<uint8_t> bytesOf(const ogg_packet& packet) {
  return {packet.packet, packet.packet + packet.bytes};
}

/// The three headers in one record, their lengths in Xiph lacing.
std::vector<uint8_t> joinHeaders(const ogg_packet (&headers)[3]) {
  std::vector<uint8_t> config{2};
  for (int i = 0; i < 2; ++i) {
    long rest = headers[i].bytes;
    for (; rest >= 255; rest -= 255) config.push_back(255);
    config.push_back(static_cast<uint8_t>(rest));
  }
  for (const auto& header : headers) config.insert(config.end(), header.packet, header.packet + header.bytes);
  return config;
}

}  // namespace

std::vector<int16_t> makeSamples(uint32_t sampleRate, uint32_t channels, uint32_t sampleCount) {
  std::vector<int16_t> samples(size_t{sampleCount} * channels);
  for (uint32_t i = 0; i < sampleCount; ++i) {
    const double t = static_cast<double>(i) / sampleRate;
    for (uint32_t c = 0; c < channels; ++c) {
      const double base = 220.0 * (c + 1) + 40 * std::sin(2 * M_PI * 3 * t);
      double sum = 0;
      for (int k = 1; k <= 5; ++k) sum += std::sin(2 * M_PI * base * k * t) / k;
      samples[size_t{i} * channels + c] = static_cast<int16_t>(6000 * sum);
    }
  }
  return samples;
}

std::vector<uint8_t> makeOpusHead(uint32_t sampleRate, uint32_t channels, int16_t gain) {
  std::vector<uint8_t> head(19);
  std::memcpy(head.data(), "OpusHead", 8);
  head[8] = 1;
  head[9] = static_cast<uint8_t>(channels);
  head[10] = 312 & 0xFF;
  head[11] = 312 >> 8;
  put(head, 12, sampleRate);
  head[16] = static_cast<uint8_t>(gain);
  head[17] = static_cast<uint8_t>(gain >> 8);
  return head;
}

std::vector<uint8_t> makeSpeexHeader(uint32_t mode, uint32_t sampleRate) {
  std::vector<uint8_t> header(80);
  std::memcpy(header.data(), "Speex   1.2", 11);
  put(header, 28, 1);
  put(header, 32, 80);
  put(header, 36, sampleRate);
  put(header, 40, mode);
  put(header, 44, 4);
  put(header, 48, 1);
  put(header, 56, 160u << (mode & 3));
  put(header, 64, 1);
  return header;
}

AudioFile makeOpus(uint32_t channels) {
  constexpr uint32_t kRate = 48000, kFrame = 960;
  AudioFile file{.codec = "opus",
                 .config = makeOpusHead(kRate, channels),
                 .sampleRate = kRate,
                 .channels = channels,
                 .leadIn = 312,
                 .packets = {}};
  const auto audio = makeSamples(kRate, channels, kRate);
  int error = 0;
  OpusEncoder* encoder =
      opus_encoder_create(kRate, static_cast<int>(channels), OPUS_APPLICATION_AUDIO, &error);
  uint8_t bytes[4000];
  for (uint32_t at = 0; at + kFrame <= kRate; at += kFrame) {
    const int len = opus_encode(encoder, &audio[size_t{at} * channels], kFrame, bytes, sizeof bytes);
    file.packets.push_back({{bytes, bytes + len}, at / 48.0});
  }
  opus_encoder_destroy(encoder);
  return file;
}

AudioFile makeSpeex(uint32_t framesPerPacket) {
  constexpr uint32_t kRate = 16000, kFrame = 320;
  AudioFile file{.codec = "speex",
                 .config = makeSpeexHeader(1, kRate),
                 .sampleRate = kRate,
                 .channels = 1,
                 .leadIn = 0,
                 .packets = {}};
  auto audio = makeSamples(kRate, 1, kRate);
  void* encoder = speex_encoder_init(speex_lib_get_mode(SPEEX_MODEID_WB));
  SpeexBits bits;
  speex_bits_init(&bits);
  for (uint32_t at = 0; at + kFrame * framesPerPacket <= kRate; at += kFrame * framesPerPacket) {
    speex_bits_reset(&bits);
    for (uint32_t frame = 0; frame < framesPerPacket; ++frame) {
      speex_encode_int(encoder, &audio[at + frame * kFrame], &bits);
    }
    speex_bits_insert_terminator(&bits);
    std::vector<uint8_t> bytes(2000);
    bytes.resize(static_cast<size_t>(speex_bits_write(&bits, reinterpret_cast<char*>(bytes.data()), 2000)));
    file.packets.push_back({std::move(bytes), at / 16.0});
  }
  speex_bits_destroy(&bits);
  speex_encoder_destroy(encoder);
  return file;
}

AudioFile makeVorbis(uint32_t sampleRate, uint32_t channels) {
  AudioFile file{.codec = "vorbis",
                 .config = {},
                 .sampleRate = sampleRate,
                 .channels = channels,
                 .leadIn = 0,
                 .packets = {}};
  vorbis_info vi;
  vorbis_comment vc;
  vorbis_dsp_state vd;
  vorbis_block vb;
  vorbis_info_init(&vi);
  vorbis_encode_init_vbr(&vi, static_cast<long>(channels), static_cast<long>(sampleRate), 0.4f);
  vorbis_comment_init(&vc);
  vorbis_analysis_init(&vd, &vi);
  vorbis_block_init(&vd, &vb);
  ogg_packet headers[3];
  vorbis_analysis_headerout(&vd, &vc, &headers[0], &headers[1], &headers[2]);
  file.config = joinHeaders(headers);
  const auto audio = makeSamples(sampleRate, channels, sampleRate);
  float** rows = vorbis_analysis_buffer(&vd, static_cast<int>(sampleRate));
  for (size_t i = 0; i < audio.size(); ++i) rows[i % channels][i / channels] = audio[i] / 32768.f;
  vorbis_analysis_wrote(&vd, static_cast<int>(sampleRate));
  vorbis_analysis_wrote(&vd, 0);
  ogg_packet packet;
  double start = 0;  // ms; a packet's position is the end of its sound
  while (vorbis_analysis_blockout(&vd, &vb) == 1) {
    vorbis_analysis(&vb, nullptr);
    vorbis_bitrate_addblock(&vb);
    while (vorbis_bitrate_flushpacket(&vd, &packet) == 1) {
      file.packets.push_back({bytesOf(packet), start});
      start = 1000.0 * static_cast<double>(packet.granulepos) / sampleRate;
    }
  }
  vorbis_block_clear(&vb);
  vorbis_dsp_clear(&vd);
  vorbis_comment_clear(&vc);
  vorbis_info_clear(&vi);
  return file;
}

std::vector<uint8_t> makePcmConfig(uint32_t sampleRate, uint32_t channels) {
  std::vector<uint8_t> config(8);
  put(config, 0, sampleRate);
  put(config, 4, channels);
  return config;
}

AudioFile makePcm(uint32_t sampleRate, uint32_t channels) {
  AudioFile file{.codec = "pcm_s16le",
                 .config = makePcmConfig(sampleRate, channels),
                 .sampleRate = sampleRate,
                 .channels = channels,
                 .leadIn = 0,
                 .packets = {}};
  const auto audio = makeSamples(sampleRate, channels, sampleRate);
  const auto* bytes = reinterpret_cast<const uint8_t*>(audio.data());
  const size_t size = size_t{sampleRate / 50} * channels * 2;
  for (size_t at = 0; at + size <= audio.size() * 2; at += size) {
    file.packets.push_back(
        {{bytes + at, bytes + at + size}, 20.0 * static_cast<double>(file.packets.size())});
  }
  return file;
}

AudioFile makeCodedAudio(const std::string& codec) {
  if (codec == "pcm_s16le") return makePcm(48000, 2);
  if (codec == "opus") return makeOpus(2);
  if (codec == "vorbis") return makeVorbis(44100, 2);
  return makeSpeex(2);
}

}  // namespace qvs::test

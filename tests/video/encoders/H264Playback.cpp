#include "H264Playback.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <cmath>
#include <cstring>
#include <memory>

namespace qvs::test {

namespace {

constexpr size_t kLength = 4;

size_t lengthAt(const std::vector<uint8_t>& unit, size_t at) {
  return static_cast<size_t>(unit[at]) << 24 | unit[at + 1] << 16 | unit[at + 2] << 8 | unit[at + 3];
}

struct Free {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

H264Picture copy(const AVFrame& frame) {
  H264Picture picture;
  picture.width = static_cast<uint32_t>(frame.width);
  picture.height = static_cast<uint32_t>(frame.height);
  picture.time = frame.pts;
  picture.key = frame.key_frame != 0;
  for (int plane = 0; plane < 3; ++plane) {
    const int step = plane == 0 ? 1 : 2;
    for (int y = 0; y < frame.height / step; ++y) {
      const uint8_t* row = frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.linesize[plane];
      picture.planes[plane].insert(picture.planes[plane].end(), row, row + frame.width / step);
    }
  }
  return picture;
}

class Player {
 public:
  explicit Player(uint32_t codec = 7)
      : context(
            avcodec_alloc_context3(avcodec_find_decoder(codec == 12 ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264))) {
    context->thread_count = 1;
    context->err_recognition = AV_EF_EXPLODE;
    ok = avcodec_open2(context.get(), nullptr, nullptr) == 0;
  }

  void send(const AVPacket* packet) {
    ok = ok && avcodec_send_packet(context.get(), packet) == 0;
    while (ok && avcodec_receive_frame(context.get(), frame.get()) == 0) {
      ok = frame->decode_error_flags == 0;
      pictures.push_back(copy(*frame));
    }
  }

  H264Shape shape() const {
    return {context->profile,
            context->level,
            context->sample_aspect_ratio.num,
            context->sample_aspect_ratio.den,
            context->color_primaries,
            context->color_trc,
            context->colorspace,
            context->color_range,
            av_q2d(context->framerate)};
  }

  bool ok = false;
  std::vector<H264Picture> pictures;

 private:
  std::unique_ptr<AVCodecContext, Free> context;
  std::unique_ptr<AVFrame, Free> frame{av_frame_alloc()};
};

}  // namespace

std::vector<int> nalTypes(const std::vector<uint8_t>& unit) {
  std::vector<int> types;
  size_t at = 0;
  while (at + kLength < unit.size()) {
    types.push_back(unit[at + kLength] & 31);
    at += kLength + lengthAt(unit, at);
  }
  return at == unit.size() ? types : std::vector<int>{};
}

namespace {

void run(Player& player, const std::vector<EncodedUnit>& units) {
  std::unique_ptr<AVPacket, Free> packet(av_packet_alloc());
  for (const EncodedUnit& unit : units) {
    av_new_packet(packet.get(), static_cast<int>(unit.bytes.size()));
    std::memcpy(packet->data, unit.bytes.data(), unit.bytes.size());
    for (size_t at = 0; at + kLength < unit.bytes.size(); at += kLength + lengthAt(unit.bytes, at)) {
      std::memcpy(packet->data + at, "\0\0\0\1", kLength);
    }
    packet->pts = unit.presentation();
    packet->dts = static_cast<int64_t>(unit.timecode);
    player.send(packet.get());
    av_packet_unref(packet.get());
  }
  player.send(nullptr);
}

}  // namespace

std::vector<H264Picture> play(const std::vector<EncodedUnit>& units, uint32_t codec) {
  Player player(codec);
  run(player, units);
  return player.ok ? player.pictures : std::vector<H264Picture>{};
}

H264Shape shapeOf(const std::vector<EncodedUnit>& units) {
  Player player;
  run(player, units);
  return player.shape();
}

double psnr(const std::vector<uint8_t>& left, const std::vector<uint8_t>& right) {
  if (left.size() != right.size() || left.empty()) return 0;
  double sum = 0;
  for (size_t i = 0; i < left.size(); ++i) sum += (left[i] - right[i]) * (left[i] - right[i]);
  return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(left.size()) / sum);
}

}  // namespace qvs::test

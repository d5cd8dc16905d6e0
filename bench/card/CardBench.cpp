// The accelerator card over its fake, and H.263 against libavcodec called directly. One line of JSON a figure.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <random>
#include <vector>

#include "fakes/u30/Card.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "hardware/CardLadder.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderH263IPP.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace qvs::bench {
namespace {

using test::CardLadder;
using test::CardStream;
using test::Fate;

constexpr uint32_t kPictures = 100000;
constexpr uint32_t kTimedPictures = 3000;
constexpr uint32_t kWidth = 352, kHeight = 288, kCoded = 150;

double cpuSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void tell(const char* name, double value) {
  std::printf("{\"name\":\"%s\",\"value\":%.3f}\n", name, value);
  std::fflush(stdout);
}

/// Pictures of two sizes that are encoded, skipped and dropped at random, by encoders that are replaced.
bool handles() {
  const CardStream streams[] = {test::makeCardStream(64, 64, 4), test::makeCardStream(96, 64, 4)};
  std::mt19937 random(1);
  CardLadder ladder(kFourCCHN12, {{48, 32}, {32, 32}});
  ladder.fateOf = [&](uint32_t) { return static_cast<Fate>(random() % 3); };
  if (!ladder.start(streams[0], 64, 64)) return false;
  for (uint32_t i = 0; i < kPictures; ++i) {
    const CardStream& now = streams[i / 500 % 2];
    std::vector<uint8_t> headers = now.headers;
    if (i % 500 == 0)
      ladder.videoDecoderDecodeCodecConfig(headers.data(), 0, static_cast<uint32_t>(headers.size()));
    if (i % 997 == 996) ladder.replace(i % 2, 17);
    ladder.dropsDecoded = random() % 5 == 0;
    if (!ladder.feed(now.packets[i % 4], 40 * i)) return false;
    ladder.forget();
  }
  ladder.resetPipeline();
  tell("card.handles_open", static_cast<double>(fake_card_live()));
  return true;
}

/// The host's own work, and whether any frame on the way has host memory that pixels could be copied to.
bool hostWork() {
  const CardStream stream = test::makeCardStream(64, 64, 4);
  CardLadder ladder(kFourCCHN12, {{64, 64}, {48, 48}, {32, 32}, {32, 32}});
  if (!ladder.start(stream, 64, 64)) return false;
  double begin = 0, inside = 0;
  for (uint32_t i = 0; i < 2 * kTimedPictures; ++i) {
    if (i == kTimedPictures) begin = cpuSeconds(), inside = fake_card_seconds();
    if (!ladder.feed(stream.packets[i % 4], 40 * i)) return false;
    ladder.forget();
  }
  const double own = cpuSeconds() - begin - (fake_card_seconds() - inside);
  tell("card.host_us_per_picture_and_rung", own * 1e6 / kTimedPictures / 4);
  double copied = 0;
  for (uint32_t i = 0; i < 3; ++i) {
    copied += ladder.getVideoDecoderBuffer(i)->getBuffer() != nullptr ? 1 : 0;
    for (uint32_t rung = 0; rung < 4; ++rung) {
      copied += ladder.getVideoEncoderBuffer(rung, i)->getBuffer() != nullptr ? 1 : 0;
    }
  }
  tell("card.frames_with_host_pixels", copied);
  return true;
}

struct Run {
  double seconds = 0;
  std::vector<uint8_t> bytes;
};

Run bySession(const std::vector<std::unique_ptr<VideoFrameBuffer>>& pictures) {
  VideoEncoderH263IPP encoder;
  encoder.setDefaults(0, 0);
  encoder.setFrameSize(kWidth, kHeight);
  encoder.setFrameRate(25);
  encoder.setBitrate(400000);
  encoder.initialize();
  Run run;
  const double begin = cpuSeconds();
  for (size_t i = 0; i < kCoded; ++i) {
    encoder.addFrame(*pictures[i % pictures.size()], 2, 40 * i);
    std::vector<VideoFrameEncoded> coded;
    encoder.getEncodedFrames(coded);
    for (const VideoFrameEncoded& unit : coded) {
      run.bytes.insert(run.bytes.end(), unit.getBuffer(), unit.getBuffer() + unit.getLen());
      std::free(unit.getBuffer());
    }
  }
  run.seconds = cpuSeconds() - begin;
  return run;
}

Run direct(const std::vector<std::unique_ptr<VideoFrameBuffer>>& pictures) {
  const AVCodec* codec = avcodec_find_encoder_by_name("h263");
  AVCodecContext* context = avcodec_alloc_context3(codec);
  context->width = kWidth;
  context->height = kHeight;
  context->pix_fmt = AV_PIX_FMT_YUV420P;
  context->time_base = {1, 25};
  context->framerate = {25, 1};
  context->thread_count = 1;
  context->max_b_frames = 0;
  context->bit_rate = 400000;
  context->gop_size = 15;
  context->me_range = 16;
  context->me_subpel_quality = 8;
  av_opt_set_int(context, "sc_threshold", 1000000000, AV_OPT_SEARCH_CHILDREN);
  av_opt_set_int(context, "motion_est", 2, AV_OPT_SEARCH_CHILDREN);
  avcodec_open2(context, codec, nullptr);
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
  Run run;
  const double begin = cpuSeconds();
  for (size_t i = 0; i < kCoded; ++i) {
    const VideoFrameBuffer& picture = *pictures[i % pictures.size()];
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = kWidth;
    frame->height = kHeight;
    frame->pts = static_cast<int64_t>(i);
    for (int plane = 0; plane < 3; ++plane) {
      const uint32_t at = plane == 0 ? 0 : 3 - static_cast<uint32_t>(plane);
      frame->data[plane] = picture.getPlane(at);
      frame->linesize[plane] = picture.getStride(at);
      frame->buf[plane] = av_buffer_create(
          frame->data[plane],
          static_cast<size_t>(frame->linesize[plane]) * (plane == 0 ? kHeight : kHeight / 2),
          [](void*, uint8_t*) {}, nullptr, AV_BUFFER_FLAG_READONLY);
    }
    avcodec_send_frame(context, frame);
    av_frame_unref(frame);
    if (avcodec_receive_packet(context, packet) < 0) continue;
    run.bytes.insert(run.bytes.end(), packet->data, packet->data + packet->size);
    av_packet_unref(packet);
  }
  run.seconds = cpuSeconds() - begin;
  av_frame_free(&frame);
  av_packet_free(&packet);
  avcodec_free_context(&context);
  return run;
}

/// The same bytes, so the same PSNR at the same rate.
bool h263(int pairs) {
  std::vector<std::unique_ptr<VideoFrameBuffer>> pictures;
  for (uint32_t time = 0; time < 30; ++time) {
    pictures.push_back(std::make_unique<VideoFrameBuffer>());
    pictures.back()->allocBuffer(kWidth, kHeight, kFourCCYV12);
    test::paintTestPicture(*pictures.back(), time);
  }
  std::string samples;
  direct(pictures);  // the first run makes the library's tables
  for (int pair = 0; pair < pairs; ++pair) {
    const Run session = bySession(pictures), alone = direct(pictures);
    if (session.bytes != alone.bytes) {
      std::fprintf(stderr, "card.h263: %zu bytes, directly %zu: not the same stream\n", session.bytes.size(),
                   alone.bytes.size());
      return false;
    }
    samples += (pair != 0 ? "," : "") + std::to_string(session.seconds / alone.seconds);
  }
  std::printf("{\"name\":\"card.h263_vs_direct\",\"ratio\":0,\"samples\":[%s]}\n", samples.c_str());
  return true;
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  using namespace qvs::bench;
  // The encoder behind the fake codes nothing: what is measured is the road.
  setenv("QVS_FAKE_FAULTS", "encoder=off", 1);
  fake_card_script("");
  const bool done = handles() && hostWork() && h263(argc > 1 ? std::atoi(argv[1]) : 7);
  return done ? 0 : 1;
}

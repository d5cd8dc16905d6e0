// What decoding through a decoder class costs against libavcodec called directly with one copy of the planes.
// One thread; process CPU time; medians of alternating pairs.
//
//   decoder-bench FILE [PAIRS]

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frames/geometry/FourCC.h"
#include "video/decoders/DecoderHarness.h"
#include "video/decoders/VideoDecoderBufferStream.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

using namespace qvs;
using namespace qvs::test;

double cpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Source {
  explicit Source(const char* path) : stream(path) {
    MediaUnit unit;
    while (stream.getCodec() != 0 && stream.next(unit)) {
      units.push_back(unit);
      raw.push_back(av_packet_clone(&stream.rawPacket()));
    }
  }

  MediaStream stream;
  std::vector<MediaUnit> units;
  std::vector<AVPacket*> raw;
};

uint32_t byClass(Source& source) {
  const auto decoder = makeDecoder(source.stream.getCodec());
  decoder->setParameterValue(VideoDecoderBufferStream::kKeyOptCPUNum, int64_t{1});
  uint32_t pictures = 0;
  DecoderHarness harness(*decoder, [&](VideoFrameBuffer&) { ++pictures; });
  harness.config(source.stream.getConfig());
  for (MediaUnit& unit : source.units) harness.feed(unit.bytes, unit.timecode, unit.frameType);
  harness.drain();
  return pictures;
}

void copyPlanes(const AVFrame& frame, VideoFrameBuffer& target) {
  target.allocBuffer(static_cast<uint32_t>(frame.width), static_cast<uint32_t>(frame.height), kFourCCI420);
  for (int plane = 0; plane < 3; ++plane) {
    const int rows = plane == 0 ? frame.height : frame.height / 2;
    const auto width = static_cast<size_t>(plane == 0 ? frame.width : frame.width / 2);
    for (int row = 0; row < rows; ++row) {
      std::memcpy(target.getPlane(static_cast<uint32_t>(plane)) + ptrdiff_t{row} * target.getStride(plane),
                  frame.data[plane] + ptrdiff_t{row} * frame.linesize[plane], width);
    }
  }
}

uint32_t directly(Source& source) {
  const AVCodec* codec = avcodec_find_decoder(source.stream.parameters().codec_id);
  AVCodecContext* context = avcodec_alloc_context3(codec);
  avcodec_parameters_to_context(context, &source.stream.parameters());
  context->thread_count = 1;
  avcodec_open2(context, codec, nullptr);
  AVFrame* frame = av_frame_alloc();
  VideoFrameBuffer target;
  uint32_t pictures = 0;
  for (size_t i = 0; i <= source.raw.size(); ++i) {
    avcodec_send_packet(context, i < source.raw.size() ? source.raw[i] : nullptr);
    while (avcodec_receive_frame(context, frame) >= 0) {
      copyPlanes(*frame, target);
      ++pictures;
    }
  }
  av_frame_free(&frame);
  avcodec_free_context(&context);
  return pictures;
}

template <typename Work>
double timed(Work&& work, uint32_t& pictures) {
  const double start = cpuSeconds();
  pictures = work();
  return cpuSeconds() - start;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "decoder-bench FILE [PAIRS]\n");
    return 2;
  }
  Source source(argv[1]);
  if (source.units.empty()) {
    std::fprintf(stderr, "%s: no stream that the decoders take\n", argv[1]);
    return 1;
  }
  std::vector<double> ratios;
  uint32_t mine = 0, theirs = 0;
  const int pairs = argc > 2 ? std::atoi(argv[2]) : 7;
  byClass(source);  // opens the libraries
  for (int pair = 0; pair < std::max(pairs, 1); ++pair) {
    const double direct = timed([&] { return directly(source); }, theirs);
    ratios.push_back(timed([&] { return byClass(source); }, mine) / direct);
  }
  std::sort(ratios.begin(), ratios.end());
  std::printf("%u and %u pictures, CPU ratio %.3f (%.3f to %.3f)\n", mine, theirs, ratios[ratios.size() / 2],
              ratios.front(), ratios.back());
  return mine == theirs ? 0 : 1;
}

// The least that any program can do to make a ladder: the codec library called directly with the encoder
// settings of a session, on one source frame at a time, and one zimg bicubic scale for each rung of another
// size. No pool, no copy of a picture, no packet list: what is above this is the price of frames and pools.
//
//   qvs-bench-floor[-h264] INPUT [--ladder NAME] [--frames N] [--out DIR]    or    qvs-bench-floor --spec
//   NAME

#include <zimg.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "ladder/FloorCodec.h"
#include "ladder/Options.h"

namespace qvs::bench {

void checkFloor(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "qvs-bench-floor: %s failed\n", what);
  std::exit(1);
}

namespace {

struct GraphFree {
  void operator()(zimg_filter_graph* graph) const { zimg_filter_graph_free(graph); }
};

zimg_image_format planar420(uint32_t width, uint32_t height) {
  zimg_image_format format;
  zimg_image_format_default(&format, ZIMG_API_VERSION);
  format.width = width;
  format.height = height;
  format.pixel_type = ZIMG_PIXEL_BYTE;
  format.subsample_w = format.subsample_h = 1;
  format.color_family = ZIMG_COLOR_YUV;
  return format;
}

/// One bicubic scale whose graph and scratch are made once.
class Scale {
 public:
  Scale(uint32_t width, uint32_t height, uint32_t targetWidth, uint32_t targetHeight) {
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.resample_filter = params.resample_filter_uv = ZIMG_RESIZE_BICUBIC;
    params.cpu_type = ZIMG_CPU_AUTO_64B;
    params.dither_type = ZIMG_DITHER_NONE;
    const auto from = planar420(width, height);
    const auto to = planar420(targetWidth, targetHeight);
    graph.reset(zimg_filter_graph_build(&from, &to, &params));
    checkFloor(graph != nullptr, "zimg_filter_graph_build");
    size_t size = 0;
    checkFloor(zimg_filter_graph_get_tmp_size(graph.get(), &size) == 0, "zimg_filter_graph_get_tmp_size");
    scratch.reset(std::aligned_alloc(64, (size + 63) / 64 * 64));
    layOut(targetWidth, targetHeight);
  }

  const FloorPicture& process(const FloorPicture& source) {
    zimg_image_buffer_const from = {ZIMG_API_VERSION, {}};
    zimg_image_buffer to = {ZIMG_API_VERSION, {}};
    for (int plane = 0; plane < 3; ++plane) {
      from.plane[plane] = {source.planes[plane], source.strides[plane], ZIMG_BUFFER_MAX};
      to.plane[plane] = {image.planes[plane], image.strides[plane], ZIMG_BUFFER_MAX};
    }
    checkFloor(zimg_filter_graph_process(graph.get(), &from, &to, scratch.get(), nullptr, nullptr, nullptr,
                                         nullptr) == 0,
               "zimg_filter_graph_process");
    return image;
  }

 private:
  void layOut(uint32_t width, uint32_t height) {
    image.width = width;
    image.height = height;
    for (int plane = 0; plane < 3; ++plane) {
      const uint32_t columns = plane ? (width + 1) / 2 : width, rows = plane ? (height + 1) / 2 : height;
      image.strides[plane] = static_cast<int>((columns + 63) / 64 * 64);
      memory[plane].reset(std::aligned_alloc(64, static_cast<size_t>(image.strides[plane]) * rows));
      image.planes[plane] = static_cast<uint8_t*>(memory[plane].get());
    }
  }

  struct Free {
    void operator()(void* block) const { std::free(block); }
  };
  std::unique_ptr<zimg_filter_graph, GraphFree> graph;
  std::unique_ptr<void, Free> scratch;
  std::unique_ptr<void, Free> memory[3];
  FloorPicture image;
};

struct FloorRung {
  FloorRung(const LadderSpec& ladder, const Rung& rung, const std::string& folder)
      : rung(rung), encoder(FloorEncoder::make(rung)), sink(folder, ladder, rung) {}

  void take(const FloorPicture& source, uint64_t frameNumber) {
    const bool sameSize = source.width == rung.width && source.height == rung.height;
    if (!sameSize && !scale)
      scale = std::make_unique<Scale>(source.width, source.height, rung.width, rung.height);
    encoder->encode(sameSize ? source : scale->process(source), frameNumber, sink);
  }

  Rung rung;
  std::unique_ptr<FloorEncoder> encoder;
  PacketSink sink;
  std::unique_ptr<Scale> scale;
};

/// What every other program of the comparison is to be told.
int printSpec(std::string_view name) {
  const LadderSpec* ladder = findLadder(name);
  if (ladder == nullptr) return 2;
  std::printf(
      "{\"cpu_used\": %d, \"frame_rate\": %u, \"key_frame_interval\": %u, \"extension\": \"%s\", \"rungs\": "
      "[",
      kCpuUsed, kFrameRate, kKeyFrameInterval, std::string(ladder->extension).c_str());
  const char* separator = "";
  for (const auto& rung : ladder->rungs) {
    std::printf("%s{\"width\": %u, \"height\": %u, \"bitrate\": %u}", separator, rung.width, rung.height,
                rung.bitrate);
    separator = ", ";
  }
  std::printf("]}\n");
  return 0;
}

int run(const Options& options) {
  const auto input = PacketSource::open(options.input);
  const auto decoder = FloorDecoder::make(*input);
  std::vector<std::unique_ptr<FloorRung>> rungs;
  for (const auto& rung : options.ladder->rungs) {
    rungs.push_back(std::make_unique<FloorRung>(*options.ladder, rung, options.outputFolder));
  }
  const uint64_t count = options.frames ? options.frames : input->frameCount();
  uint64_t pictures = 0;
  for (uint64_t number = 0; number < count; ++number) {
    decoder->decode(input->next(), [&](const FloorPicture& picture) {
      for (auto& rung : rungs) rung->take(picture, pictures);
      ++pictures;
    });
  }
  std::printf("{\"frames\": %llu", static_cast<unsigned long long>(pictures));
  for (auto& rung : rungs) {
    std::printf(", \"bytes_%u\": %llu", rung->rung.height,
                static_cast<unsigned long long>(rung->sink.byteCount()));
  }
  std::printf("}\n");
  return 0;
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  if (argc == 3 && std::string_view(argv[1]) == "--spec") return qvs::bench::printSpec(argv[2]);
  return qvs::bench::run(qvs::bench::parseOptions(argc, argv));
}

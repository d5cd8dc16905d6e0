// The least that any program can do to make the ladder: libvpx called directly with the encoder settings of a
// session, on one source frame at a time, and one zimg bicubic scale for each rung of another size. No pool,
// no copy of a picture, no packet list: what is above this is the price of a frame road.
//
//   qvs-bench-floor INPUT.ivf [--frames N] [--out DIR]    or    qvs-bench-floor --spec

#include <vpx/vp8cx.h>
#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>
#include <vpx/vpx_encoder.h>
#include <zimg.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "ladder/IvfStream.h"
#include "ladder/LadderSpec.h"
#include "ladder/Options.h"

namespace qvs::bench {
namespace {

void check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "qvs-bench-floor: %s failed\n", what);
  std::exit(1);
}

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
    check(graph != nullptr, "zimg_filter_graph_build");
    size_t size = 0;
    check(zimg_filter_graph_get_tmp_size(graph.get(), &size) == 0, "zimg_filter_graph_get_tmp_size");
    scratch.reset(std::aligned_alloc(64, (size + 63) / 64 * 64));
    check(vpx_img_alloc(&image, VPX_IMG_FMT_I420, targetWidth, targetHeight, 64) != nullptr, "vpx_img_alloc");
  }
  ~Scale() { vpx_img_free(&image); }
  Scale(const Scale&) = delete;
  Scale& operator=(const Scale&) = delete;

  vpx_image_t* process(const vpx_image_t& source) {
    zimg_image_buffer_const from = {ZIMG_API_VERSION, {}};
    zimg_image_buffer to = {ZIMG_API_VERSION, {}};
    for (int plane = 0; plane < 3; ++plane) {
      from.plane[plane] = {source.planes[plane], source.stride[plane], ZIMG_BUFFER_MAX};
      to.plane[plane] = {image.planes[plane], image.stride[plane], ZIMG_BUFFER_MAX};
    }
    check(zimg_filter_graph_process(graph.get(), &from, &to, scratch.get(), nullptr, nullptr, nullptr,
                                    nullptr) == 0,
          "zimg_filter_graph_process");
    return &image;
  }

 private:
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };
  std::unique_ptr<zimg_filter_graph, GraphFree> graph;
  std::unique_ptr<void, Free> scratch;
  vpx_image_t image{};
};

class Encoder {
 public:
  explicit Encoder(const Rung& rung) {
    vpx_codec_enc_cfg_t config;
    check(vpx_codec_enc_config_default(vpx_codec_vp8_cx(), &config, 0) == VPX_CODEC_OK, "config_default");
    config.g_w = rung.width;
    config.g_h = rung.height;
    config.g_timebase = {1, static_cast<int>(kFrameRate)};
    config.rc_target_bitrate = rung.bitrate / 1000;
    config.rc_end_usage = VPX_CBR;
    config.g_lag_in_frames = 0;
    config.kf_mode = VPX_KF_DISABLED;
    config.kf_min_dist = config.kf_max_dist = 0;
    config.g_threads = kEncoderThreads;
    check(vpx_codec_enc_init(&codec, vpx_codec_vp8_cx(), &config, 0) == VPX_CODEC_OK, "enc_init");
    check(vpx_codec_control(&codec, VP8E_SET_CPUUSED, kCpuUsed) == VPX_CODEC_OK, "VP8E_SET_CPUUSED");
  }
  ~Encoder() { vpx_codec_destroy(&codec); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  void encode(vpx_image_t* image, uint64_t frameNumber, IvfSink& sink) {
    const vpx_enc_frame_flags_t flags = isKeyFrame(frameNumber) ? VPX_EFLAG_FORCE_KF : 0;
    check(vpx_codec_encode(&codec, image, static_cast<vpx_codec_pts_t>(frameNumber), 1, flags,
                           VPX_DL_REALTIME) == VPX_CODEC_OK,
          "vpx_codec_encode");
    vpx_codec_iter_t iterator = nullptr;
    while (const auto* packet = vpx_codec_get_cx_data(&codec, &iterator)) {
      if (packet->kind == VPX_CODEC_CX_FRAME_PKT) sink.write(packet->data.frame.buf, packet->data.frame.sz);
    }
  }

 private:
  vpx_codec_ctx_t codec{};
};

struct FloorRung {
  FloorRung(const Rung& rung, const Options& options)
      : rung(rung),
        encoder(rung),
        sink(options.outputFolder.empty()
                 ? IvfSink()
                 : IvfSink(options.outputFolder + "/" + std::to_string(rung.height) + ".ivf", rung.width,
                           rung.height)) {}

  void take(vpx_image_t* source, uint64_t frameNumber) {
    const bool sameSize = source->d_w == rung.width && source->d_h == rung.height;
    if (!sameSize && !scale)
      scale = std::make_unique<Scale>(source->d_w, source->d_h, rung.width, rung.height);
    encoder.encode(sameSize ? source : scale->process(*source), frameNumber, sink);
  }

  Rung rung;
  Encoder encoder;
  IvfSink sink;
  std::unique_ptr<Scale> scale;
};

/// What every other program of the comparison is to be told.
void printSpec() {
  std::printf("{\"cpu_used\": %d, \"key_frame_interval\": %u, \"rungs\": [", kCpuUsed, kKeyFrameInterval);
  const char* separator = "";
  for (const auto& rung : kRungs) {
    std::printf("%s{\"width\": %u, \"height\": %u, \"bitrate\": %u}", separator, rung.width, rung.height,
                rung.bitrate);
    separator = ", ";
  }
  std::printf("]}\n");
}

int run(const Options& options) {
  IvfSource input(options.input);
  vpx_codec_ctx_t decoder{};
  check(vpx_codec_dec_init(&decoder, vpx_codec_vp8_dx(), nullptr, 0) == VPX_CODEC_OK, "dec_init");
  std::vector<std::unique_ptr<FloorRung>> rungs;
  for (const auto& rung : kRungs) rungs.push_back(std::make_unique<FloorRung>(rung, options));

  const uint64_t count = options.frames ? options.frames : input.frameCount();
  for (uint64_t number = 0; number < count; ++number) {
    const auto packet = input.next();
    check(vpx_codec_decode(&decoder, packet.data(), static_cast<unsigned>(packet.size()), nullptr, 0) ==
              VPX_CODEC_OK,
          "vpx_codec_decode");
    vpx_codec_iter_t iterator = nullptr;
    while (auto* image = vpx_codec_get_frame(&decoder, &iterator)) {
      for (auto& rung : rungs) rung->take(image, number);
    }
  }
  vpx_codec_destroy(&decoder);
  std::printf("{\"frames\": %llu", static_cast<unsigned long long>(count));
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
  if (argc == 2 && std::string_view(argv[1]) == "--spec") {
    qvs::bench::printSpec();
    return 0;
  }
  return qvs::bench::run(qvs::bench::parseOptions(argc, argv));
}

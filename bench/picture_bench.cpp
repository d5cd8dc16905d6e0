// The converter's kernels against what they are measured by: zimg, memcpy, libavfilter and themselves. One JSON line a
// figure: medians over alternating pairs of CPU time of this thread, with the spread.
//
//   QVS_MEDIA=FOLDER build/release/bench/picture-bench
//
// With QVS_MEDIA the pictures scaled are a frame of clips/hevc/crowd_1920x1080_25fps_4000kbps_h265.mp4; else
// a made one.
#include <time.h>
#include <zimg.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

#include "LavOverlay.h"
#include "ucc/kernels/BgraTo420.h"
#include "ucc/kernels/Blend.h"
#include "ucc/kernels/CpuDispatch.h"
#include "ucc/kernels/PlaneScaler.h"

namespace {

using namespace qvs::ucc;

constexpr uint32_t kWidth = 1920, kHeight = 1080, kDstWidth = 1280, kDstHeight = 720;
constexpr int kPairs = 15;

double cpuMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

void print(const std::string& name, const char* kind, const std::vector<double>& samples) {
  std::printf("{\"name\": \"%s\", \"%s\": %.4f, \"samples\": [", name.c_str(), kind, median(samples));
  for (size_t i = 0; i < samples.size(); ++i) std::printf("%s%.4f", i ? ", " : "", samples[i]);
  std::printf("]}\n");
}

struct Times {
  std::vector<double> ours, theirs, ratio;
};

double timeOf(const std::function<void()>& work, int repeats) {
  const double start = cpuMilliseconds();
  for (int i = 0; i < repeats; ++i) work();
  return (cpuMilliseconds() - start) / repeats;
}

Times alternate(const std::function<void()>& ours, const std::function<void()>& theirs, int repeats) {
  Times times;
  timeOf(ours, repeats / 4 + 1);
  timeOf(theirs, repeats / 4 + 1);
  for (int i = 0; i < kPairs; ++i) {
    times.ours.push_back(timeOf(ours, repeats));
    times.theirs.push_back(timeOf(theirs, repeats));
    times.ratio.push_back(times.ours.back() / times.theirs.back());
  }
  return times;
}

/// A planar 4:2:0 picture, rows padded to 64 bytes.
template <class Sample>
struct Picture420 {
  Picture420(uint32_t width, uint32_t height) {
    for (int p = 0; p < 3; ++p) {
      widths[p] = p ? width / 2 : width;
      heights[p] = p ? height / 2 : height;
      strides[p] = (widths[p] * sizeof(Sample) + 63) & ~63u;
      storage[p].allocate(size_t{strides[p]} * heights[p]);
    }
  }
  Sample* row(int p, uint32_t y) const {
    return reinterpret_cast<Sample*>(storage[p].template as<uint8_t>() + size_t{strides[p]} * y);
  }
  uint32_t widths[3], heights[3], strides[3];
  AlignedBuffer storage[3];
};

bool readRealFrame(const Picture420<uint8_t>& picture) {
  const char* media = std::getenv("QVS_MEDIA");
  if (!media) return false;
  const std::string command = "ffmpeg -v error -ss 3 -i '" + std::string(media) +
                              "/clips/hevc/crowd_1920x1080_25fps_4000kbps_h265.mp4' -frames:v 1"
                              " -pix_fmt yuv420p -f rawvideo -";
  FILE* pipe = popen(command.c_str(), "r");
  bool whole = pipe != nullptr;
  for (int p = 0; p < 3; ++p) {
    for (uint32_t y = 0; whole && y < picture.heights[p]; ++y) {
      whole = fread(picture.row(p, y), 1, picture.widths[p], pipe) == picture.widths[p];
    }
  }
  if (pipe) pclose(pipe);
  return whole;
}

void makeFrame(const Picture420<uint8_t>& picture) {
  std::mt19937 random(1);
  for (int p = 0; p < 3; ++p) {
    for (uint32_t y = 0; y < picture.heights[p]; ++y) {
      for (uint32_t x = 0; x < picture.widths[p]; ++x) {
        const double wave = 90 * std::sin(x * 0.11 + y * 0.031) * std::cos(y * 0.17 - x * 0.013);
        picture.row(p, y)[x] = static_cast<uint8_t>(128 + wave + static_cast<double>(random() % 16));
      }
    }
  }
}

class ZimgScaler {
 public:
  ZimgScaler(zimg_pixel_type_e type, zimg_resample_filter_e filter, zimg_cpu_type_e cpu) {
    zimg_image_format src, dst;
    zimg_image_format_default(&src, ZIMG_API_VERSION);
    src.width = kWidth;
    src.height = kHeight;
    src.pixel_type = type;
    src.subsample_w = src.subsample_h = 1;
    src.color_family = ZIMG_COLOR_YUV;
    dst = src;
    dst.width = kDstWidth;
    dst.height = kDstHeight;
    zimg_graph_builder_params params;
    zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
    params.resample_filter = params.resample_filter_uv = filter;
    params.cpu_type = cpu;
    graph = zimg_filter_graph_build(&src, &dst, &params);
    size_t bytes = 0;
    zimg_filter_graph_get_tmp_size(graph, &bytes);
    scratch.allocate(bytes);
  }
  ZimgScaler(const ZimgScaler&) = delete;
  ZimgScaler& operator=(const ZimgScaler&) = delete;
  ~ZimgScaler() { zimg_filter_graph_free(graph); }

  template <class Sample>
  void run(const Picture420<Sample>& src, const Picture420<Sample>& dst) {
    zimg_image_buffer_const from{ZIMG_API_VERSION, {}};
    zimg_image_buffer to{ZIMG_API_VERSION, {}};
    for (int p = 0; p < 3; ++p) {
      from.plane[p] = {src.row(p, 0), src.strides[p], ZIMG_BUFFER_MAX};
      to.plane[p] = {dst.row(p, 0), dst.strides[p], ZIMG_BUFFER_MAX};
    }
    zimg_filter_graph_process(graph, &from, &to, scratch.as<void>(), nullptr, nullptr, nullptr, nullptr);
  }

 private:
  zimg_filter_graph* graph;
  AlignedBuffer scratch;
};

double lumaPsnr(const Picture420<uint8_t>& picture, const Picture420<float>& wanted) {
  double sum = 0;
  for (uint32_t y = 0; y < kDstHeight; ++y) {
    for (uint32_t x = 0; x < kDstWidth; ++x) {
      const double error = picture.row(0, y)[x] - std::clamp(wanted.row(0, y)[x], 0.0f, 255.0f);
      sum += error * error;
    }
  }
  return 10 * std::log10(255.0 * 255.0 * kDstWidth * kDstHeight / sum);
}

void measureScaler(const Picture420<uint8_t>& src) {
  struct Level {
    CpuLevel level;
    zimg_cpu_type_e zimg;
    const char* name;
  };
  const Level levels[] = {{CpuLevel::kAvx2, ZIMG_CPU_X86_AVX2, "_avx2"},
                          {CpuLevel::kAvx512, ZIMG_CPU_X86_AVX512_CLX, "_avx512"}};
  const Picture420<uint8_t> ours(kDstWidth, kDstHeight), theirs(kDstWidth, kDstHeight);
  for (const Level& level : levels) {
    if (level.level > detectedCpuLevel()) continue;
    setCpuLevelMask(1u << static_cast<int>(level.level));
    PlaneScaler luma, chroma;
    if (!luma.configure(kWidth, kHeight, kDstWidth, kDstHeight) ||
        !chroma.configure(kWidth / 2, kHeight / 2, kDstWidth / 2, kDstHeight / 2)) {
      std::exit(1);
    }
    ZimgScaler zimg(ZIMG_PIXEL_BYTE, ZIMG_RESIZE_BICUBIC, level.zimg);
    const auto times = alternate(
        [&] {
          for (int p = 0; p < 3; ++p) {
            (p ? chroma : luma).run(src.row(p, 0), src.strides[p], ours.row(p, 0), ours.strides[p]);
          }
        },
        [&] { zimg.run(src, theirs); }, 20);
    const std::string name = "scaler.yv12_1080_720_vs_zimg";
    print(name + level.name, "ratio", times.ratio);
    if (level.level == detectedCpuLevel()) print(name, "ratio", times.ratio);
    print(std::string("scaler.yv12_1080_720") + level.name + ".ms", "ms", times.ours);
  }
  setCpuLevelMask(~0u);

  const Picture420<float> floatSrc(kWidth, kHeight), floatDst(kDstWidth, kDstHeight);
  for (int p = 0; p < 3; ++p) {
    for (uint32_t y = 0; y < src.heights[p]; ++y) {
      std::copy_n(src.row(p, y), src.widths[p], floatSrc.row(p, y));
    }
  }
  ZimgScaler lanczos(ZIMG_PIXEL_FLOAT, ZIMG_RESIZE_LANCZOS, ZIMG_CPU_AUTO);
  lanczos.run(floatSrc, floatDst);
  print("scaler.yv12_1080_720.psnr_db", "value", {lumaPsnr(ours, floatDst)});
  print("scaler.zimg_bicubic.psnr_db", "value", {lumaPsnr(theirs, floatDst)});
}

/// Scalers of a 1080p picture's planes.
struct PictureScaler {
  PictureScaler(uint32_t width, uint32_t height, Orientation orientation) : dst(width, height) {
    if (!luma.configure(kWidth, kHeight, width, height, 1, orientation) ||
        !chroma.configure(kWidth / 2, kHeight / 2, width / 2, height / 2, 1, orientation)) {
      std::exit(1);
    }
  }
  void run(const Picture420<uint8_t>& src) {
    for (int p = 0; p < 3; ++p) {
      (p ? chroma : luma).run(src.row(p, 0), src.strides[p], dst.row(p, 0), dst.strides[p]);
    }
  }

  PlaneScaler luma, chroma;
  Picture420<uint8_t> dst;
};

/// A clockwise quarter turn of the picture against what it costs to lay it in unturned.
void measureTurns(const Picture420<uint8_t>& src) {
  struct Row {
    const char* name;
    uint32_t width, height, straightWidth, straightHeight;
  };
  constexpr Row kRows[] = {{"picture.turn_vs_straight", 1080, 1920, 1080, 1920},
                           {"picture.turn_720_vs_straight", 720, 1280, 1280, 720},
                           {"picture.turn_vs_copy", 1080, 1920, 1920, 1080}};
  for (const Row& row : kRows) {
    PictureScaler turned(row.width, row.height, makeOrientation(false, true, false));
    PictureScaler straight(row.straightWidth, row.straightHeight, {});
    const auto times = alternate([&] { turned.run(src); }, [&] { straight.run(src); }, 20);
    print(row.name, "ratio", times.ratio);
    print(std::string(row.name) + ".ms", "ms", times.ours);
  }
}

void measureBgra() {
  constexpr size_t kBgraBytes = size_t{4} * kWidth * kHeight;
  // A copy of n bytes moves 2 n: as many are read and written here.
  constexpr size_t kCopyBytes = (kBgraBytes + kWidth * kHeight * 3 / 2) / 2;
  std::vector<uint8_t> bgra(kBgraBytes), from(kCopyBytes, 1), to(kCopyBytes, 2);
  std::mt19937 random(2);
  std::generate(bgra.begin(), bgra.end(), [&] { return static_cast<uint8_t>(random() >> 9); });
  const Picture420<uint8_t> dst(kWidth, kHeight);
  const RgbToYuvMatrix matrix = makeRgbToYuvMatrix(0.2126, 0.0722, true);
  const auto times = alternate(
      [&] {
        bgraTo420(
            bgra.data(), 4 * kWidth, kBgraOrder, matrix,
            {dst.row(0, 0), dst.row(1, 0), dst.row(2, 0), dst.strides[0], dst.strides[1], dst.strides[2]},
            kWidth, kHeight);
      },
      [&] {
        std::memcpy(to.data(), from.data(), kCopyBytes);
        asm volatile("" ::: "memory");
      },
      20);
  print("bgra_to_yv12.vs_memcpy", "ratio", times.ratio);
  print("bgra_to_yv12.ms", "ms", times.ours);
}

void measureOverlay(const Picture420<uint8_t>& picture) {
  constexpr uint32_t kOverlayWidth = 400, kOverlayHeight = 200, kX = 1500, kY = 20;
  std::vector<uint8_t> bgra(size_t{4} * kOverlayWidth * kOverlayHeight);
  for (uint32_t y = 0; y < kOverlayHeight; ++y) {
    for (uint32_t x = 0; x < kOverlayWidth; ++x) {
      uint8_t* pixel = &bgra[4 * (y * kOverlayWidth + x)];
      const uint32_t edge = std::min({x, y, kOverlayWidth - 1 - x, kOverlayHeight - 1 - y});
      pixel[0] = static_cast<uint8_t>(x);
      pixel[1] = static_cast<uint8_t>(y);
      pixel[2] = static_cast<uint8_t>(x * y);
      pixel[3] = static_cast<uint8_t>(std::min(255u, edge * 8));
    }
  }
  const Picture420<uint8_t> planes(kOverlayWidth, kOverlayHeight), alphas(kOverlayWidth, kOverlayHeight);
  const auto plane = [](const Picture420<uint8_t>& p, int i) {
    return MutablePlane{p.row(i, 0), static_cast<ptrdiff_t>(p.strides[i])};
  };
  const auto constPlane = [](const Picture420<uint8_t>& p, int i) {
    return ConstPlane{p.row(i, 0), static_cast<ptrdiff_t>(p.strides[i])};
  };
  makeOverlayPlanes(
      {bgra.data(), 4 * kOverlayWidth}, kBgraOrder, makeRgbToYuvMatrix(0.2126, 0.0722, true), kOverlayWidth,
      kOverlayHeight, {0, 0},
      {plane(planes, 0), plane(alphas, 0), plane(planes, 1), plane(planes, 2), plane(alphas, 1)});

  qvs::bench::LavOverlay lav(kWidth, kHeight, kOverlayWidth, kOverlayHeight, kX, kY);
  for (int p = 0; p < 4; ++p) {
    const Picture420<uint8_t>& from = p == 3 ? alphas : planes;
    const int i = p == 3 ? 0 : p;
    for (uint32_t y = 0; y < from.heights[i]; ++y) {
      std::memcpy(lav.overlay()->data[p] + y * lav.overlay()->linesize[p], from.row(i, y), from.widths[i]);
    }
  }
  const auto times = alternate(
      [&] {
        for (int p = 0; p < 3; ++p) {
          const int half = p ? 2 : 1;
          blendPlane({picture.row(p, kY / half) + kX / half, static_cast<ptrdiff_t>(picture.strides[p])},
                     constPlane(planes, p), constPlane(alphas, p ? 1 : 0), kOverlayWidth / half,
                     kOverlayHeight / half);
        }
      },
      [&] { lav.process(); }, 200);
  print("overlay_400x200_1080.ms", "ms", times.ours);
  print("overlay_400x200_1080.vs_ffmpeg", "ratio", times.ratio);
}

}  // namespace

int main() {
  const Picture420<uint8_t> picture(kWidth, kHeight);
  if (!readRealFrame(picture)) {
    std::fprintf(stderr, "picture-bench: no real frame (QVS_MEDIA), a made one is scaled\n");
    makeFrame(picture);
  }
  measureScaler(picture);
  measureTurns(picture);
  measureBgra();
  measureOverlay(picture);
}

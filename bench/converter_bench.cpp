// What the converter's table is chosen by: each path of a pair of formats, timed by turns with a copy of as
// many bytes and with the general path. Counters are medians: `memcpy` and `graph` are the pair's time over
// theirs.
//
//   build/release/bench/converter-bench [--benchmark_filter=REGEX]
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

#include "ucc/ConversionPathTable.h"
#include "ucc/GraphPath.h"
#include "ucc/PlanarPicture.h"

namespace {

using namespace qvs::ucc;
using Clock = std::chrono::steady_clock;

struct Picture {
  Picture(uint32_t format, uint32_t width, uint32_t height) : codec(findPixelFormat(format)) {
    frame.pixel_format = format;
    frame.width = width;
    frame.height = height;
    for (int p = 0; p < codec->planes; ++p) {
      const size_t stride = codec->rowBytes(p, width);
      const size_t size = stride * codec->rowsOf(p, height);
      bytes += size;
      storage[p] = allocateAligned(size);
      for (size_t i = 0; i < size; ++i) storage[p].get()[i] = static_cast<uint8_t>(i * 7 + i / 977);
      frame.plane[p] = storage[p].get();
      frame.stride[p] = static_cast<int32_t>(stride);
    }
  }
  const PixelFormat* codec;
  ucc_frame_t frame{};
  size_t bytes = 0;
  AlignedBlock storage[3];
};

AVPixelFormat swscaleFormat(uint32_t format) {
  constexpr struct {
    uint32_t ours;
    AVPixelFormat theirs;
  } kFormats[] = {{UCC_FORMAT_I420, AV_PIX_FMT_YUV420P},  {UCC_FORMAT_I422, AV_PIX_FMT_YUV422P},
                  {UCC_FORMAT_NV12, AV_PIX_FMT_NV12},     {UCC_FORMAT_NV21, AV_PIX_FMT_NV21},
                  {UCC_FORMAT_BGRA, AV_PIX_FMT_BGRA},     {UCC_FORMAT_ARGB, AV_PIX_FMT_ARGB},
                  {UCC_FORMAT_BGR4, AV_PIX_FMT_BGR0},     {UCC_FORMAT_BGR3, AV_PIX_FMT_BGR24},
                  {UCC_FORMAT_R565, AV_PIX_FMT_RGB565LE}, {UCC_FORMAT_UYVY, AV_PIX_FMT_UYVY422},
                  {UCC_FORMAT_YUY2, AV_PIX_FMT_YUYV422},  {UCC_FORMAT_P010, AV_PIX_FMT_P010LE},
                  {UCC_FORMAT_P210, AV_PIX_FMT_P210LE}};
  for (const auto& row : kFormats) {
    if (row.ours == format) return row.theirs;
  }
  return AV_PIX_FMT_NONE;
}

// BT.709 in full range on both sides, rounded as carefully as it can. Null for formats that it doesn't have.
SwsContext* makeSwscale(const ucc_frame_t& to, const ucc_frame_t& from) {
  const AVPixelFormat target = swscaleFormat(to.pixel_format), source = swscaleFormat(from.pixel_format);
  if (target == AV_PIX_FMT_NONE || source == AV_PIX_FMT_NONE) return nullptr;
  SwsContext* context = sws_getContext(from.width, from.height, source, to.width, to.height, target,
                                       SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
  const int* matrix = sws_getCoefficients(SWS_CS_ITU709);
  if (context) sws_setColorspaceDetails(context, matrix, 1, matrix, 1, 0, 1 << 16, 1 << 16);
  return context;
}

template <class Action>
double secondsOf(Action action) {
  const auto start = Clock::now();
  action();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double>& values) {
  std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
  return values[values.size() / 2];
}

void convertPair(benchmark::State& state, uint32_t to, uint32_t from, uint32_t width, uint32_t height) {
  Picture source(from, 1280, 720), target(to, width, height);
  const Color color{MATRIX_COEFFICIENTS_BT709_6, true};
  const Task task{target.codec, source.codec, width, height, 1280, 720, color, color, {}};
  const ConversionPathPtr chosen = choosePath(task);
  GraphPath graph;
  if (!chosen || !graph.prepare(task)) return state.SkipWithError("no memory");
  const size_t bytes = (source.bytes + target.bytes) / 2;
  const AlignedBlock copyFrom = allocateAligned(bytes), copyTo = allocateAligned(bytes);
  std::memset(copyFrom.get(), 1, bytes);
  std::memset(copyTo.get(), 2, bytes);
  SwsContext* swscale = makeSwscale(target.frame, source.frame);
  std::vector<double> toCopy, toGraph, toSwscale;
  for (auto _ : state) {
    const double own = secondsOf([&] { chosen->run(target.frame, source.frame); });
    toGraph.push_back(own / secondsOf([&] { graph.run(target.frame, source.frame); }));
    toCopy.push_back(own / secondsOf([&] { std::memcpy(copyTo.get(), copyFrom.get(), bytes); }));
    if (swscale) {
      toSwscale.push_back(own / secondsOf([&] {
                            sws_scale(swscale, source.frame.plane, source.frame.stride, 0,
                                      source.frame.height, target.frame.plane, target.frame.stride);
                          }));
    }
    state.SetIterationTime(own);
  }
  state.counters["memcpy"] = median(toCopy);
  state.counters["graph"] = median(toGraph);
  if (swscale) state.counters["swscale"] = median(toSwscale);
  sws_freeContext(swscale);
}

// A 400 x 200 overlay kept under one number, blended in place over 1080p.
void blendOverlay(benchmark::State& state, uint32_t format) {
  Picture target(format, 1920, 1080), overlay(UCC_FORMAT_BGRA, 400, 200);
  ucc_overlay_config_t settings{2, &overlay.frame, 1501, 41, 400, 200, 1};
  ucc_config_t config{};
  config.overlay = &settings;
  void* instance = UCC_Create(0);
  for (auto _ : state) UCC_Transform(instance, &target.frame, &target.frame, &config);
  UCC_Destroy(instance);
}

struct Pair {
  const char* name;
  uint32_t to, from;
};

constexpr Pair kPairs[] = {
    {"I420_from_I420", UCC_FORMAT_I420, UCC_FORMAT_I420},
    {"NV12_from_NV12", UCC_FORMAT_NV12, UCC_FORMAT_NV12},
    {"BGRA_from_I420", UCC_FORMAT_BGRA, UCC_FORMAT_I420},
    {"BGR3_from_I420", UCC_FORMAT_BGR3, UCC_FORMAT_I420},
    {"R565_from_I420", UCC_FORMAT_R565, UCC_FORMAT_I420},
    {"BGRA_from_I422", UCC_FORMAT_BGRA, UCC_FORMAT_I422},
    {"BGRA_from_NV12", UCC_FORMAT_BGRA, UCC_FORMAT_NV12},
    {"BGR3_from_NV12", UCC_FORMAT_BGR3, UCC_FORMAT_NV12},
    {"I420_from_BGRA", UCC_FORMAT_I420, UCC_FORMAT_BGRA},
    {"I420_from_ARGB", UCC_FORMAT_I420, UCC_FORMAT_ARGB},
    {"I420_from_BGR3", UCC_FORMAT_I420, UCC_FORMAT_BGR3},
    {"I420_from_UYVY", UCC_FORMAT_I420, UCC_FORMAT_UYVY},
    {"I420_from_YUY2", UCC_FORMAT_I420, UCC_FORMAT_YUY2},
    {"I422_from_UYVY", UCC_FORMAT_I422, UCC_FORMAT_UYVY},
    {"UYVY_from_I420", UCC_FORMAT_UYVY, UCC_FORMAT_I420},
    {"YUY2_from_I420", UCC_FORMAT_YUY2, UCC_FORMAT_I420},
    {"UYVY_from_I422", UCC_FORMAT_UYVY, UCC_FORMAT_I422},
    {"UYVY_from_YUY2", UCC_FORMAT_UYVY, UCC_FORMAT_YUY2},
    {"I422_from_I420", UCC_FORMAT_I422, UCC_FORMAT_I420},
    {"I420_from_I422", UCC_FORMAT_I420, UCC_FORMAT_I422},
    {"NV12_from_I420", UCC_FORMAT_NV12, UCC_FORMAT_I420},
    {"I420_from_NV12", UCC_FORMAT_I420, UCC_FORMAT_NV12},
    {"NV12_from_NV21", UCC_FORMAT_NV12, UCC_FORMAT_NV21},
    {"I420_from_v210", UCC_FORMAT_I420, UCC_FORMAT_V210},
    {"P210_from_v210", UCC_FORMAT_P210, UCC_FORMAT_V210},
    {"I420_from_P010", UCC_FORMAT_I420, UCC_FORMAT_P010},
    {"BGR3_from_BGRA", UCC_FORMAT_BGR3, UCC_FORMAT_BGRA},
    {"BGRA_from_BGR3", UCC_FORMAT_BGRA, UCC_FORMAT_BGR3},
    {"BGR4_from_BGRA", UCC_FORMAT_BGR4, UCC_FORMAT_BGRA},
    {"ARGB_from_BGRA", UCC_FORMAT_ARGB, UCC_FORMAT_BGRA},
    {"BGRA_from_ARGB", UCC_FORMAT_BGRA, UCC_FORMAT_ARGB},
    {"VUYA_from_BGRA", UCC_FORMAT_VUYA, UCC_FORMAT_BGRA},
};

constexpr Pair kScaled[] = {
    {"I420_from_I420", UCC_FORMAT_I420, UCC_FORMAT_I420},
    {"I422_from_I422", UCC_FORMAT_I422, UCC_FORMAT_I422},
    {"NV12_from_NV12", UCC_FORMAT_NV12, UCC_FORMAT_NV12},
    {"BGRA_from_I420", UCC_FORMAT_BGRA, UCC_FORMAT_I420},
    {"I420_from_NV12", UCC_FORMAT_I420, UCC_FORMAT_NV12},
    {"I420_from_BGRA", UCC_FORMAT_I420, UCC_FORMAT_BGRA},
    {"I420_from_UYVY", UCC_FORMAT_I420, UCC_FORMAT_UYVY},
    {"BGRA_from_BGRA", UCC_FORMAT_BGRA, UCC_FORMAT_BGRA},
};

void addBenchmark(const std::string& name, const Pair& pair, uint32_t width, uint32_t height) {
  const auto run = [pair, width, height](benchmark::State& state) {
    convertPair(state, pair.to, pair.from, width, height);
  };
  benchmark::RegisterBenchmark(name.c_str(), run)
      ->UseManualTime()
      ->Iterations(60)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  for (const Pair& pair : kPairs) addBenchmark(std::string("same/") + pair.name, pair, 1280, 720);
  for (const Pair& pair : kScaled) addBenchmark(std::string("to_854x480/") + pair.name, pair, 854, 480);
  for (const auto& [name, format] :
       {std::pair{"I420", UCC_FORMAT_I420}, {"NV12", UCC_FORMAT_NV12}, {"BGRA", UCC_FORMAT_BGRA}}) {
    const auto run = [id = format](benchmark::State& state) { blendOverlay(state, id); };
    benchmark::RegisterBenchmark((std::string("overlay/") + name).c_str(), run)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

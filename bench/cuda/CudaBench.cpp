// The path of a frame on a GPU: what crosses and what is queued on the emulated one, how long it takes on a real one.
//
// One line of JSON a figure, with the GPU's name as its note. Without a GPU nothing is printed.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "contract/ScaleIds.h"
#include "cuda.h"
#include "fakes/nvidia/EmulatedGpu.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"
#include "video/scaling/device/cuda/NVidiaCUDAUtils.h"

namespace qvs::bench {
namespace {

constexpr PixelSize kSource{1920, 1080};
constexpr PixelSize kRungs[] = {{1280, 720}, {854, 480}, {640, 360}};
constexpr PixelSize kOverlay{400, 200};
constexpr int kPictures = 20, kRounds = 7, kTimedPictures = 200, kSessions = 500;
constexpr auto kMemoryClock = static_cast<CUdevice_attribute>(36);     // kHz
constexpr auto kMemoryBusWidth = static_cast<CUdevice_attribute>(37);  // bits

struct Pool {
  explicit Pool(PixelSize size) {
    set.setScaleImplementation(kScaleCUDA);
    set.initialize(1);
    frame().allocBuffer(size.width, size.height, kFourCCYV12);
    frame().setLocations(VideoFrameBuffer::systemMem);
    frame().transferToLocation(VideoFrameBuffer::CUDA);
  }
  VideoFrameBuffer& frame() { return *set.getVideoFrameBuffer(0); }
  VideoFrameBufferSet set;
};

/// A decoded picture and its renditions.
struct Ladder {
  explicit Ladder(size_t count) : source(kSource) {
    for (size_t i = 0; i < count; ++i) rungs.push_back(std::make_unique<Pool>(kRungs[i]));
  }
  void putOverlays() {
    for (const auto& rung : rungs) {
      const size_t bytes = size_t{4} * kOverlay.width * kOverlay.height;
      auto* pixels = static_cast<uint8_t*>(std::malloc(bytes));
      for (size_t i = 0; i < bytes; ++i) pixels[i] = static_cast<uint8_t>(i);
      auto* overlay = new VideoOverlayFrame(kFourCCBGRA, pixels, static_cast<uint32_t>(bytes),
                                            4 * kOverlay.width, 0, kOverlay.width, kOverlay.height);
      overlay->setDestinationLocation(20, 20, kOverlay.width, kOverlay.height, kAlignLeft | kAlignTop);
      rung->set.getOverlayFrames().putFrame(1, overlay);
    }
  }
  void run(int pictures) {
    for (int picture = 0; picture < pictures; ++picture) {
      for (const auto& rung : rungs) {
        VideoOverlayFrames& overlays = rung->set.getOverlayFrames();
        rung->set.transferFrame(source.frame(), rung->frame(), overlays);
        rung->set.applyOverlays(rung->frame(), overlays);
      }
    }
  }
  Pool source;
  std::vector<std::unique_ptr<Pool>> rungs;
};

void print(const char* name, const std::string& samples, const std::string& gpu) {
  std::printf("{\"name\":\"cuda.%s\",\"value\":0,\"samples\":[%s],\"note\":\"%s\"}\n", name, samples.c_str(),
              gpu.c_str());
}

void print(const char* name, double value, const std::string& gpu) {
  print(name, std::to_string(value), gpu);
}

void count(const std::string& gpu) {
  const fakes::EmulatedGpu emulated;
  Ladder ladder(std::size(kRungs));
  ladder.putOverlays();
  ladder.run(1);
  const fakes::EmulatedGpuCounts first = emulated.counts();
  ladder.run(kPictures);
  const fakes::EmulatedGpuCounts last = emulated.counts();
  const double each = kPictures * std::size(kRungs);
  print("pixel_copies",
        static_cast<double>(last.hostToDevice + last.deviceToHost - first.hostToDevice - first.deviceToHost),
        gpu);
  print("launches", static_cast<double>(last.launches - first.launches) / each, gpu);
  print("synchronisations", static_cast<double>(last.synchronisations - first.synchronisations) / each, gpu);

  for (int session = 0; session < kSessions; ++session) {
    Pool one({64, 36}), other({32, 18});
    other.set.transferFrame(one.frame(), other.frame(), other.set.getOverlayFrames());
  }
  print("memory_left", static_cast<double>(emulated.counts().bytes - last.bytes), gpu);
}

/// Bytes a microsecond, as the card's data sheet counts: both edges of the clock.
double bandwidth() {
  CUdevice device = 0;
  int clock = 0, bits = 0;
  cuDeviceGet(&device, 0);
  cuDeviceGetAttribute(&clock, kMemoryClock, device);
  cuDeviceGetAttribute(&bits, kMemoryBusWidth, device);
  return 2.0 * clock / 1000 * bits / 8;
}

/// Microseconds of the device for a picture in one rung, queued back to back so that the host doesn't count.
double microseconds(Pool& source, Pool& rung) {
  const DevicePicture& from = *source.frame().getDevicePicture();
  DevicePicture& to = *rung.frame().getDevicePicture();
  VideoScaleSetDataCUDA& cuda = rung.set.getScaleSetDataCUDA();
  const std::lock_guard hold(cuda.ctxLock);
  OverlayPlacement placement;
  placement.clamped = {20, 20, kOverlay.width, kOverlay.height};
  CUevent start = nullptr, end = nullptr;
  cuEventCreate(&start, 0);
  cuEventCreate(&end, 0);
  cuEventRecord(start, cuda.m_Stream);
  for (int picture = 0; picture < kTimedPictures; ++picture) {
    to.place(from, {}, DevicePicture::Completion::kQueued);
    for (VideoOverlayFrame* overlay : rung.set.getOverlayFrames().framesToDraw())
      to.drawOverlay(*overlay, placement);
  }
  cuEventRecord(end, cuda.m_Stream);
  to.finish();
  float milliseconds = 0;
  cuEventElapsedTime(&milliseconds, start, end);
  cuEventDestroy(start);
  cuEventDestroy(end);
  return milliseconds * 1000 / kTimedPictures;
}

void time(const std::string& gpu) {
  Ladder plain(std::size(kRungs)), drawn(std::size(kRungs));
  drawn.putOverlays();
  const double bytes = 1.5 * (kSource.width * kSource.height + kRungs[0].width * kRungs[0].height);
  const double bytesTime = bytes / bandwidth();
  std::string ratios, plainTimes, drawnTimes;
  const auto total = [](Ladder& ladder) {
    double sum = 0;
    for (const auto& rung : ladder.rungs) sum += microseconds(ladder.source, *rung);
    return sum;
  };
  plain.run(kPictures);
  drawn.run(kPictures);
  for (int round = 0; round < kRounds; ++round) {
    const char* separator = round != 0 ? "," : "";
    ratios += separator + std::to_string(microseconds(plain.source, *plain.rungs[0]) / bytesTime);
    plainTimes += separator + std::to_string(total(plain));
    drawnTimes += separator + std::to_string(total(drawn));
  }
  print("resize_vs_bandwidth", ratios, gpu);
  print("three_rungs_us", plainTimes, gpu);
  print("three_rungs_overlays_us", drawnTimes, gpu);
}

bool isEmulated() {
  void* const library = dlopen("libcuda.so.1", RTLD_NOW);
  const bool emulated = library != nullptr && dlsym(library, "qvsEmulatedGpuCounts") != nullptr;
  if (library != nullptr) dlclose(library);
  return emulated;
}

}  // namespace
}  // namespace qvs::bench

int main() {
  using namespace qvs;
  HardwareInfoCUDA info;
  if (!NVidiaCUDAUtils::getCUDAInfo(&info, 1)) {
    std::fprintf(stderr, "bench: %s\n", NVidiaCUDAUtils::whyNone().c_str());
    return 0;
  }
  const std::string gpu = info.gpus[0].name.data();
  if (bench::isEmulated()) {
    bench::count(gpu);
  } else {
    bench::time(gpu);
  }
  return 0;
}

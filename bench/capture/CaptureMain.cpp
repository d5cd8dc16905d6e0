// What the road from a capture device to a session's encoders costs.
//
//   qvs-bench-capture device|direct DIR PICTURES    one ladder of the directory's pictures, from a device or read here
//   qvs-bench-capture growth DIR SECONDS            two devices, two sessions, a loss of signal each minute, eight at least
//   qvs-bench-capture-probe allocations DIR PICTURES

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "capture/CaptureDeviceFile.h"
#include "capture/CaptureManager.h"
#include "capture/CaptureMediaFile.h"
#include "support/AllocationCounter.h"
#include "support/CodecProbe.h"
#include "support/SessionDriver.h"
#include "video/decoders/TranscoderVideoDecoderCaptureInfo.h"

namespace qvs::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uint8_t kAny[] = {0};
constexpr uint64_t kWarmUpPictures = 40;

double cpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

uint64_t residentBytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/statm");
  uint64_t size = 0, resident = 0;
  file >> size >> resident;
  return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

test::SessionSetup ladder(int32_t device, std::initializer_list<uint32_t> heights) {
  test::SessionSetup setup{
      .poolSize = 3, .captureDevice = device, .sink = [](uint32_t, const VideoFrameEncoded&) {}};
  for (const uint32_t height : heights) {
    setup.rungs.push_back({.width = height * 16 / 9 & ~1u,
                           .height = height,
                           .bitrate = height * height * 4,
                           .codec = kVideoCodecH264,
                           .frameRate = 60});
  }
  return setup;
}

/// A device of the process's manager that plays a directory.
CaptureDeviceFile& addDevice(const char* directory) {
  CaptureFileSource source(nullptr);
  if (source.load(directory) != 0) throw std::runtime_error(std::string(directory) + " can't be played");
  auto device = std::make_unique<CaptureDeviceFile>(0, std::move(source), nullptr);
  CaptureDeviceFile& added = *device;
  CaptureManager::getInstance()->addDevice(std::move(device));
  return added;
}

void run(CaptureDeviceFile& device, bool wanted) {
  CaptureDeviceStateInfoData state{.state = wanted ? 1u : 0u};
  device.setActiveState(&state);
}

void pause() {
  std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

/// One ladder of a device, `each` after every picture.
template <typename Each>
uint64_t playDevice(const char* directory, uint64_t pictures, Each each) {
  CaptureDeviceFile& device = addDevice(directory);
  test::SessionDriver driver(ladder(static_cast<int32_t>(device.getId()), {1080, 720, 360}));
  driver.decode(kAny, 0);
  run(device, true);
  for (uint64_t count = 0; count < pictures;) {
    if (driver.feed(kAny, 0).picture) {
      each(count++);
    } else {
      pause();
    }
  }
  run(device, false);
  TranscoderVideoDecoderCaptureInfo info;
  driver.session().videoDecoderGetCaptureInfo(&info);
  return info.droppedFrames;
}

/// The same pictures at the same pace, read into the session's own frame.
template <typename Each>
void playDirectly(const char* directory, uint64_t pictures, Each each) {
  CaptureFileSource source(nullptr);
  if (source.load(directory) != 0) throw std::runtime_error(std::string(directory) + " can't be played");
  const CaptureMediaFile file(source.filePathVideo);
  CaptureDeviceFile& idle = addDevice(directory);
  test::SessionDriver driver(ladder(static_cast<int32_t>(idle.getId()), {1080, 720, 360}));
  TranscoderSession& session = driver.session();
  const uint32_t rungs = session.getVideoEncoderCount();
  EncodedVideoUnits coded;
  const Clock::time_point start = Clock::now();
  for (uint64_t count = 0; count < pictures; ++count) {
    const uint64_t time = source.periods(count, 1000);
    std::this_thread::sleep_until(start + std::chrono::milliseconds(time));
    uint32_t decoded = 0;
    if (session.videoDecoderBufferAllocate(&decoded) != 0) throw std::runtime_error("no frame");
    VideoFrameBuffer& frame = *session.getVideoDecoderBuffer(decoded);
    frame.allocBuffer(source.videoFrameWidth, source.videoFrameHeight, kFourCCYV12);
    file.read(count % source.videoFrameCount * source.videoFrameSizeBytes, frame.getBuffer(),
              source.videoFrameSizeBytes);
    frame.setLocations(VideoFrameBuffer::systemMem);
    session.videoDecoderTransferFrameStart(decoded, {});
    for (uint32_t rung = 0; rung < rungs; ++rung) {
      uint32_t target = 0;
      session.videoEncoderBufferAllocate(rung, &target);
      session.videoDecoderTransferFrame(decoded, target, rung);
      session.videoEncoderAddFrame(rung, target, rung, 2, time);
      session.videoEncoderGetEncodedFrames(rung, coded);
      session.videoEncoderBufferRelease(rung, target);
    }
    coded.clear();
    session.videoDecoderBufferRelease(decoded);
    each(count);
  }
}

int measureCpu(const std::string& mode, const char* directory, uint64_t pictures) {
  double begin = 0;
  const auto each = [&](uint64_t count) {
    if (count == kWarmUpPictures) begin = cpuSeconds();
  };
  uint64_t dropped = 0;
  if (mode == "device") {
    dropped = playDevice(directory, pictures, each);
  } else {
    playDirectly(directory, pictures, each);
  }
  std::printf("{\"cpu\": %.6f, \"dropped\": %" PRIu64 "}\n", cpuSeconds() - begin, dropped);
  return 0;
}

int countAllocations(const char* directory, uint64_t pictures) {
  uint64_t before = 0, after = 0;
  playDevice(directory, pictures, [&](uint64_t count) {
    const uint64_t now = test::allocationsSoFar() - test::allocationsApart();
    if (count == kWarmUpPictures) before = now;
    after = now;
  });
  const double each =
      static_cast<double>(after - before) / static_cast<double>(pictures - 1 - kWarmUpPictures);
  // A block each for the coded units of three rungs, and for what the driver feeds where nothing need be fed.
  std::printf("{\"allocations\": %.3f}\n", each - 4);
  return 0;
}

/// A device with a session that reads it, and what it sent while somebody listened.
struct Pair {
  explicit Pair(const char* directory)
      : device(addDevice(directory)), driver(ladder(static_cast<int32_t>(device.getId()), {180})) {
    driver.decode(kAny, 0);
  }
  void poll() {
    while (driver.feed(kAny, 0).picture) ++delivered;
  }
  void stop() {
    CaptureSessionInfoData info = device.getCaptureSessionInfo();
    run(device, false);
    sent += std::max(info.videoFrameCountTotal, device.getCaptureSessionInfo().videoFrameCountTotal);
  }
  CaptureDeviceFile& device;
  test::SessionDriver driver;
  uint64_t delivered = 0, sent = 0;
};

int watchGrowth(const char* directory, double seconds) {
  Pair pairs[] = {Pair(directory), Pair(directory)};
  const Clock::time_point start = Clock::now();
  uint64_t settled = 0;
  const int turns = std::max(8, static_cast<int>(seconds / 60));
  for (int turn = 0; turn < turns; ++turn) {
    for (Pair& pair : pairs) run(pair.device, true);
    const auto end = start + std::chrono::duration_cast<Clock::duration>(
                                 std::chrono::duration<double>(seconds * (turn + 1) / turns));
    while (Clock::now() < end) {
      for (Pair& pair : pairs) pair.poll();
      pause();
    }
    for (Pair& pair : pairs) pair.stop();
    for (Pair& pair : pairs) pair.poll();
    if (turn == turns / 4) settled = residentBytes();
  }
  const uint64_t last = residentBytes();
  uint64_t unaccounted = 0;
  for (Pair& pair : pairs) {
    TranscoderVideoDecoderCaptureInfo info;
    pair.driver.session().videoDecoderGetCaptureInfo(&info);
    const uint64_t known = pair.delivered + info.droppedFrames;
    unaccounted += pair.sent > known ? pair.sent - known : known - pair.sent;
  }
  std::printf("{\"growth\": %.5f, \"unaccounted\": %" PRIu64 ", \"pictures\": %" PRIu64 "}\n",
              last > settled ? static_cast<double>(last - settled) / static_cast<double>(settled) : 0.0,
              unaccounted, pairs[0].delivered + pairs[1].delivered);
  return 0;
}

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "qvs-bench-capture device|direct|allocations|growth DIR PICTURES|SECONDS\n");
    return 2;
  }
  const std::string mode = argv[1];
  if (mode == "growth") return watchGrowth(argv[2], std::strtod(argv[3], nullptr));
  const uint64_t pictures = std::strtoull(argv[3], nullptr, 10);
  if (pictures < 2 * kWarmUpPictures) {
    std::fprintf(stderr, "qvs-bench-capture: at least %" PRIu64 " pictures\n", 2 * kWarmUpPictures);
    return 2;
  }
  return mode == "allocations" ? countAllocations(argv[2], pictures) : measureCpu(mode, argv[2], pictures);
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  try {
    return qvs::bench::main(argc, argv);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qvs-bench-capture: %s\n", e.what());
    return 1;
  }
}

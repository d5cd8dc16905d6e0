// Frames on a GPU, on the emulated driver: pictures against those of the CPU's path, what crosses and what is queued,
// and what a device that fails leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "contract/ScaleIds.h"
#include "fakes/nvidia/EmulatedGpu.h"
#include "frames/DevicePictureCUDA.h"
#include "frames/Pictures.h"
#include "log/LogGlobalLogger.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"

namespace qvs::test {
namespace {

using fakes::EmulatedGpu;
using fakes::EmulatedGpuCounts;

EmulatedGpu& gpu() {
  static EmulatedGpu emulated;
  return emulated;
}

struct DevicePool {
  DevicePool(PixelSize size, uint32_t code, uint32_t implementation = kScaleCUDA, uint64_t flags = 0) {
    set.setLogger(&log);
    set.setScaleImplementation(implementation);
    set.setScaleFlags(flags);
    set.initialize(1);
    frame().allocBuffer(size.width, size.height, code);
    frame().initialize();
  }
  VideoFrameBuffer& frame() { return *set.getVideoFrameBuffer(0); }
  std::vector<std::string> lines() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> texts;
    for (const LogStatement& statement : statements) texts.push_back(statement.str);
    return texts;
  }

  LogCollector log;
  VideoFrameBufferSet set;
};

/// Smooth in luma, and U and V as different as they can be.
void paintSlopes(VideoFrameBuffer& frame) {
  const Samples samples(frame);
  for (uint32_t y = 0; y < frame.getHeight(); ++y) {
    for (uint32_t x = 0; x < frame.getWidth(); ++x) {
      samples.y(x, y) = static_cast<uint8_t>(128 + 100 * std::sin(x * 0.05) * std::cos(y * 0.07));
      samples.u(x, y) = static_cast<uint8_t>(40 + 60.0 * x / frame.getWidth());
      samples.v(x, y) = static_cast<uint8_t>(220 - 60.0 * y / frame.getHeight());
    }
  }
  frame.setLocations(VideoFrameBuffer::systemMem);
}

/// The worst of the three components' ratios, in dB.
double psnr(const VideoFrameBuffer& a, const VideoFrameBuffer& b) {
  double sum[3] = {};
  const Samples left(a), right(b);
  for (uint32_t y = 0; y < a.getHeight(); ++y) {
    for (uint32_t x = 0; x < a.getWidth(); ++x) {
      const Yuv one = left.at(x, y), other = right.at(x, y);
      sum[0] += std::pow(one.y - other.y, 2);
      sum[1] += std::pow(one.u - other.u, 2);
      sum[2] += std::pow(one.v - other.v, 2);
    }
  }
  const double worst = std::max({sum[0], sum[1], sum[2]}) / a.getWidth() / a.getHeight();
  return worst == 0 ? 99 : 10 * std::log10(255 * 255 / worst);
}

VideoOverlayFrame* slopingOverlay(uint32_t width, uint32_t height, PixelSize drawn) {
  VideoOverlayFrame* overlay = makeOverlay(width, height, kOpaqueBlue);
  auto* bytes = const_cast<uint8_t*>(overlay->getBuffer());
  for (uint32_t i = 0; i < width * height; ++i)
    bytes[i * 4 + 3] = static_cast<uint8_t>(i % width * 255 / (width - 1));
  overlay->setDestinationLocation(10, 6, drawn.width, drawn.height, kAlignCenter | kAlignMiddle);
  return overlay;
}

/// All that a session does with frames. False where something failed.
bool session(std::vector<std::string>* lines) {
  DevicePool source({64, 36}, kFourCCYV12), target({32, 18}, kFourCCNV12);
  VideoOverlayFrames& overlays = target.set.getOverlayFrames();
  overlays.putFrame(1, slopingOverlay(8, 8, {10, 10}));
  target.frame().setFitMode(kFitLetterbox);
  paintSlopes(source.frame());
  bool worked = source.frame().transferLocationFromDecode() == kSuccess && source.frame().isLocationCUDA();
  worked = target.set.transferFrame(source.frame(), target.frame(), overlays) == kSuccess && worked;
  worked = target.set.applyOverlays(target.frame(), overlays) == kSuccess && worked;
  worked = target.frame().transferToSystemMemory() == kSuccess && worked;
  worked = worked && source.frame().getDevicePicture() && target.frame().getDevicePicture();
  for (DevicePool* pool : {&source, &target}) {
    for (std::string& line : pool->lines()) lines->push_back(std::move(line));
  }
  return worked;
}

class DeviceFrames : public testing::Test {
 protected:
  void SetUp() override {
    gpu().faults("");
    // The context stays for the process, and the module of image kernels with it.
    std::vector<std::string> lines;
    ASSERT_TRUE(session(&lines)) << testing::PrintToString(lines);
    before = gpu().counts();
  }
  void TearDown() override {
    gpu().faults("");
    const EmulatedGpuCounts after = gpu().counts();
    EXPECT_EQ(after.overruns, 0u);
    EXPECT_TRUE(!expectsClean || after.bytes == before.bytes) << after.bytes - before.bytes;
  }

  EmulatedGpuCounts before{};
  bool expectsClean = true;
};

TEST_F(DeviceFrames, CrossBothWaysInEachFormatAndAtOddSizes) {
  for (const uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCIYUV, kFourCCNV12, kFourCCNV21, kFourCCBGRA}) {
    for (const auto& [width, height] : {std::pair{64u, 48u}, {35u, 27u}, {1u, 1u}}) {
      SCOPED_TRACE(nameOf(code) + " " + std::to_string(width));
      DevicePool pool({width, height}, code);
      VideoFrameBuffer& frame = pool.frame();
      for (size_t i = 0; i < frame.getFrameSize(); ++i) {
        frame.getBuffer()[i] = static_cast<uint8_t>(code != kFourCCBGRA ? i * 37
                                                    : i % 4 == 3        ? 255
                                                                        : 60 * (i % 4));
      }
      frame.setLocations(VideoFrameBuffer::systemMem);
      const std::vector<uint8_t> sent(frame.getBuffer(), frame.getBuffer() + frame.getFrameSize());
      ASSERT_EQ(frame.transferLocationFromDecode(), kSuccess);
      ASSERT_EQ(frame.getLocations(), 3u) << testing::PrintToString(pool.lines());
      std::fill_n(frame.getBuffer(), sent.size(), uint8_t{0x55});
      frame.setLocations(VideoFrameBuffer::CUDA);
      ASSERT_EQ(frame.transferToSystemMemory(), kSuccess);
      for (size_t i = 0; i < sent.size(); ++i) {
        ASSERT_NEAR(frame.getBuffer()[i], sent[i], code == kFourCCBGRA ? 3 : 0) << i;
      }
    }
  }
}

TEST_F(DeviceFrames, RefuseWhatTheyCannotHold) {
  DevicePool pool({64, 64}, fourcc("YUY2"));
  pool.frame().setLocations(VideoFrameBuffer::systemMem);
  EXPECT_EQ(pool.frame().transferToLocation(VideoFrameBuffer::CUDA), kFailure);
  EXPECT_EQ(pool.frame().getLocations(), VideoFrameBuffer::systemMem) << "nothing is there";
  EXPECT_THAT(pool.lines(), testing::Contains(testing::HasSubstr("transferToLocation[size or format]")));
}

/// How a target is asked for, and how like the CPU's it has to be.
struct Fit {
  const char* name;
  PixelSize size;
  uint32_t mode;
  std::vector<uint32_t> crop, padding;
  bool overlay;
  double least;
};
const Fit kFits[] = {{"stretch", {240, 136}, kFitStretch, {}, {}, false, 45},
                     {"same size", {320, 180}, kFitStretch, {}, {}, false, 98},
                     {"odd size", {201, 113}, kFitStretch, {}, {}, false, 45},
                     {"letterbox", {256, 200}, kFitLetterbox, {}, {}, false, 45},
                     {"pillarbox", {400, 180}, kFitLetterbox, {}, {}, false, 45},
                     {"odd bars", {320, 270}, kFitLetterbox, {}, {}, false, 45},
                     {"crop to fill", {160, 160}, kFitCropToFill, {}, {}, false, 45},
                     {"crop, padding", {256, 144}, kFitStretch, {21, 40, 10, 6}, {16, 8, 12, 20}, false, 45},
                     {"overlay", {240, 136}, kFitStretch, {}, {}, true, 40},
                     {"overlay on bars", {256, 200}, kFitLetterbox, {}, {}, true, 40}};

std::unique_ptr<DevicePool> fitted(const Fit& fit, uint32_t code, uint32_t implementation) {
  DevicePool source({320, 180}, code, implementation, kScaleFlagPlaceOnCpu);
  auto target = std::make_unique<DevicePool>(fit.size, code, implementation, kScaleFlagPlaceOnCpu);
  paintSlopes(source.frame());
  VideoFrameBuffer& frame = target->frame();
  paint(frame, kGreen);
  frame.setFitMode(fit.mode);
  if (!fit.crop.empty()) frame.setCrop(fit.crop.data());
  if (!fit.padding.empty()) frame.setPadding(fit.padding.data());
  VideoOverlayFrames& overlays = target->set.getOverlayFrames();
  if (fit.overlay) overlays.putFrame(1, slopingOverlay(60, 40, {120, 80}));
  EXPECT_EQ(source.frame().transferLocationFromDecode(), kSuccess);
  for (int picture = 0; picture < 2; ++picture) {
    EXPECT_EQ(target->set.transferFrame(source.frame(), frame, overlays), kSuccess);
    EXPECT_EQ(target->set.applyOverlays(frame, overlays), kSuccess);
  }
  EXPECT_EQ(frame.getLocations(), implementation == kScaleCPU ? 1u : 2u) << "the host's is stale";
  EXPECT_EQ(frame.transferToSystemMemory(), kSuccess);
  return target;
}

TEST_F(DeviceFrames, ShowWhatTheCpuShows) {
  for (const Fit& fit : kFits) {
    for (const uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCNV12}) {
      const auto onCpu = fitted(fit, code, kScaleCPU);
      const auto onDevice = fitted(fit, code, kScaleCUDA);
      EXPECT_GT(psnr(onCpu->frame(), onDevice->frame()), fit.least) << fit.name << " " << nameOf(code);
    }
  }
}

TEST_F(DeviceFrames, TakeFewStepsAndNoCopiesOfPixels) {
  DevicePool source({320, 180}, kFourCCYV12);
  DevicePool target({160, 90}, kFourCCYV12);
  VideoOverlayFrames& overlays = target.set.getOverlayFrames();
  overlays.putFrame(1, slopingOverlay(60, 40, {60, 40}));
  overlays.putFrame(2, slopingOverlay(20, 20, {21, 21}));
  paintSlopes(source.frame());
  source.frame().transferLocationFromDecode();
  const auto run = [&] {
    EXPECT_EQ(target.set.transferFrame(source.frame(), target.frame(), overlays), kSuccess);
    EXPECT_EQ(target.set.applyOverlays(target.frame(), overlays), kSuccess);
  };
  run();
  const EmulatedGpuCounts first = gpu().counts();
  for (int picture = 0; picture < 10; ++picture) run();
  const EmulatedGpuCounts last = gpu().counts();
  EXPECT_EQ(last.hostToDevice - first.hostToDevice, 0u);
  EXPECT_EQ(last.deviceToHost - first.deviceToHost, 0u);
  EXPECT_EQ(last.launches - first.launches, 10 * 5u);
  EXPECT_EQ(last.synchronisations - first.synchronisations, 10u);
  EXPECT_EQ(last.waits - first.waits, 0u);
  EXPECT_EQ(last.bytes, first.bytes);
}

TEST_F(DeviceFrames, RefreshAnOverlayThatChanges) {
  DevicePool pool({64, 64}, kFourCCYV12);
  VideoOverlayFrames& overlays = pool.set.getOverlayFrames();
  const auto draw = [&](VideoOverlayFrame* overlay) {
    paint(pool.frame(), kGreen);
    pool.frame().setLocations(VideoFrameBuffer::systemMem);
    if (overlay != nullptr) overlays.putFrame(1, overlay);
    EXPECT_EQ(pool.set.applyOverlays(pool.frame(), overlays), kSuccess);
    pool.frame().transferToSystemMemory();
  };
  VideoOverlayFrame* overlay = makeOverlay(16, 16, kOpaqueRed, 12);
  overlay->setDestinationLocation(8, 8, 16, 16, 17);
  draw(overlay);
  EXPECT_TRUE(isColor(pool.frame(), kRed, 8, 8, 24, 24));
  EXPECT_TRUE(isColor(pool.frame(), kGreen, 24, 0, 64, 64));
  overlay->setDestinationLocation(0, 0, 33, 32, 17);
  draw(nullptr);
  EXPECT_TRUE(isColor(pool.frame(), kRed, 0, 0, 32, 32));
  EXPECT_TRUE(isColor(pool.frame(), kGreen, 32, 0, 64, 64)) << "the last odd column is not drawn";
  overlay = makeOverlay(16, 16, kClearRed);
  overlay->setDestinationLocation(8, 8, 16, 16, 17);
  draw(overlay);
  EXPECT_TRUE(isColor(pool.frame(), kGreen));
}

TEST_F(DeviceFrames, OutliveTheirPool) {
  std::shared_ptr<VideoFrameBuffer> kept;
  {
    DevicePool pool({64, 64}, kFourCCYV12);
    kept = *pool.set.begin();
    paintSlopes(*kept);
    kept->transferLocationFromDecode();
  }
  kept->setLocations(VideoFrameBuffer::CUDA);
  EXPECT_EQ(kept->transferToSystemMemory(), kSuccess) << "its stream is still there";
  kept.reset();
  EXPECT_EQ(gpu().counts().streams, before.streams);
  EXPECT_EQ(gpu().counts().modules, before.modules);
}

TEST_F(DeviceFrames, LeaveNothingBehind) {
  for (int session = 0; session < 50; ++session) {
    DevicePool source({64, 36}, kFourCCYV12), target({32, 18}, kFourCCNV12);
    VideoOverlayFrames& overlays = target.set.getOverlayFrames();
    overlays.putFrame(1, slopingOverlay(8, 8, {10, 10}));
    source.frame().setLocations(VideoFrameBuffer::systemMem);
    target.set.transferFrame(source.frame(), target.frame(), overlays);
    target.set.applyOverlays(target.frame(), overlays);
    target.frame().transferToSystemMemory();
  }
  const EmulatedGpuCounts after = gpu().counts();
  EXPECT_EQ(after.bytes, before.bytes);
  EXPECT_EQ(after.blocks, before.blocks);
  EXPECT_EQ(after.streams, before.streams);
  EXPECT_EQ(after.modules, before.modules);
}

TEST_F(DeviceFrames, ShareTheContextOfTheirGpu) {
  auto* manager = NVidiaCUDAContextManager::getInstance();
  const auto one = manager->acquireContext(0, 0);
  const long users = one.use_count();
  const auto other = manager->acquireContext(0, 0);
  EXPECT_EQ(one, other);
  EXPECT_EQ(other.use_count(), users + 1);
  EXPECT_FALSE(manager->acquireContext(0, 129));
  EXPECT_FALSE(manager->acquireContext(77, 128)) << "no such device, and no room past the array's end";
}

/// Whether a line names a call, or the one of ours that made it.
bool isTold(const std::vector<std::string>& lines, const std::string& call) {
  using Names = std::vector<std::string>;
  static const std::map<std::string, Names> kMadeBy{{"cuModuleLoadData", {"cuModuleLoad"}},
                                                    {"cuModuleGetGlobal", {"updateConstantMemory"}},
                                                    {"cuMemcpyHtoD", {"updateConstantMemory"}},
                                                    {"cuMemAllocAsync", {"cudaMallocAsync"}},
                                                    {"cuMemAllocPitch", {"cuMemAllocPitch", "nppiMalloc_8u"}},
                                                    {"cuLaunchKernel", {"cuLaunchKernel", "nppi"}},
                                                    {"cuCtxGetCurrent", {"cuLaunchKernel", "nppi"}}};
  const auto made = kMadeBy.find(call);
  const Names names = made != kMadeBy.end() ? made->second : Names{call};
  return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return line.find(name) != std::string::npos; });
  });
}

/// Whatever fails once: told by its name, and nothing stays behind. 1 is a code that passes.
TEST_F(DeviceFrames, SurviveEachCallThatFails) {
  gpu().faults("");
  std::vector<std::string> lines;
  const uint64_t start = gpu().counts().calls;
  ASSERT_TRUE(session(&lines));
  const uint64_t calls = gpu().counts().calls - start;
  ASSERT_GT(calls, 50u);
  for (uint64_t call = 1; call <= calls; ++call) {
    gpu().faults(("any@" + std::to_string(call) + "=status:1").c_str());
    lines.clear();
    const bool worked = session(&lines);
    const std::string faulty = gpu().faulty();
    gpu().faults("");
    const EmulatedGpuCounts after = gpu().counts();
    EXPECT_EQ(after.bytes, before.bytes) << call << " " << faulty;
    EXPECT_EQ(after.streams, before.streams) << call << " " << faulty;
    EXPECT_EQ(after.modules, before.modules) << call << " " << faulty;
    EXPECT_TRUE(worked || isTold(lines, faulty)) << call << " " << faulty << testing::PrintToString(lines);
    lines.clear();
    ASSERT_TRUE(session(&lines)) << "after " << call << " " << faulty << ": "
                                 << (lines.empty() ? "" : lines[0]);
  }
}

/// Last: the device is lost for the rest of the process.
TEST_F(DeviceFrames, TheirDeadContextIsNeverUsedAgain) {
  expectsClean = false;
  auto* manager = NVidiaCUDAContextManager::getInstance();
  {
    DevicePool source({64, 36}, kFourCCYV12), target({32, 18}, kFourCCYV12);
    paintSlopes(source.frame());
    source.frame().transferLocationFromDecode();
    gpu().faults("cuLaunchKernel@1=status:700");
    EXPECT_EQ(target.set.transferFrame(source.frame(), target.frame(), target.set.getOverlayFrames()),
              kFailure);
    EXPECT_FALSE(target.frame().isLocationCUDA());
    EXPECT_THAT(target.lines(), testing::Contains(testing::HasSubstr("nppiResize_8u_C1R_Ctx")));
    EXPECT_TRUE(manager->isLost(0));
    EXPECT_FALSE(manager->acquireContext(0, 0));
    EXPECT_EQ(gpu().counts().contexts, 1) << "its users still end what they hold";
  }
  EXPECT_EQ(gpu().counts().contexts, 0);
  DevicePool late({64, 36}, kFourCCYV12);
  EXPECT_FALSE(late.frame().getDevicePicture());
}

}  // namespace
}  // namespace qvs::test

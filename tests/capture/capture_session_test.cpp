#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "capture/AudioDecoderCapture.h"
#include "capture/CaptureDeviceFile.h"
#include "capture/CaptureDirectory.h"
#include "capture/CaptureManager.h"
#include "frames/geometry/ChromaOrder.h"
#include "support/SessionDriver.h"

namespace qvs::test {
namespace {

using Movie = CaptureDirectory;

constexpr uint8_t kAny[] = {0};  ///< a capture decoder ignores what it is fed
constexpr uint64_t kPeriodMs = 20;

/// A file device of the process's manager, which stops at the end. Ids stay taken.
class RunningDevice {
 public:
  RunningDevice(const CaptureDirectory& directory, ILogger* log, bool run = true) {
    CaptureFileSource source(log);
    if (source.load(directory.device(0).c_str()) != kSuccess) throw std::runtime_error("nothing to play");
    auto owned = std::make_unique<CaptureDeviceFile>(0, std::move(source), log);
    device = owned.get();
    CaptureManager::getInstance()->addDevice(std::move(owned));
    if (run) setRunning(true);
  }
  ~RunningDevice() { setRunning(false); }

  uint32_t setRunning(bool run) {
    CaptureDeviceStateInfoData state{.state = run ? 1u : 2u};
    device->setActiveState(&state);
    return state.status;
  }
  CaptureDeviceFile* operator->() const { return device; }
  int32_t id() const { return static_cast<int32_t>(device->getId()); }

 private:
  CaptureDeviceFile* device;
};

/// Calls `poll` until it gives true `count` times; false after ten seconds.
template <typename Poll>
bool pollFor(int count, Poll poll) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (count > 0 && std::chrono::steady_clock::now() < end) {
    if (poll()) {
      --count;
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  return count == 0;
}

void expectPicture(VideoFrameBuffer& picture, int position) {
  const ChromaOrder order = chromaOrder(picture.getFourCC());
  EXPECT_NEAR(picture.getPlane(0)[0], Movie::kFirstLuma + position * Movie::kLumaStep, 1);
  EXPECT_NEAR(picture.getPlane(order.u)[0], Movie::kU, 1);
  EXPECT_NEAR(picture.getPlane(order.v)[0], Movie::kV, 1);
}

TEST(CaptureSession, TranscodesADeviceInOrderAndColourWithoutCodedInput) {
  CaptureDirectory directory;
  directory.writeMovie(0, 6);  // of which five are played, with their sound
  for (const uint32_t label : {kFourCCYV12, kFourCCI420}) {
    RunningDevice device(directory, nullptr, false);
    SessionDriver driver(
        {.fourcc = label, .rungs = {{.width = 32, .height = 24}}, .captureDevice = device.id()});
    EXPECT_FALSE(driver.decode(kAny, 0));  // from here on pictures are kept for it
    device.setRunning(true);
    uint64_t expected = 0;
    EXPECT_TRUE(pollFor(12, [&] {
      if (!driver.decode(kAny, 0)) return false;
      EXPECT_EQ(driver.decodedTimecode(), expected * kPeriodMs);
      EXPECT_EQ(driver.frameInfo().frameRate, 50);
      expectPicture(*driver.decodedFrame(), static_cast<int>(expected++ % 5));
      driver.encode();
      return true;
    }));
    EXPECT_THAT(driver.units(0), ::testing::SizeIs(12));
  }
}

TEST(CaptureSession, KeepsSoundInPlaceAcrossTheLoop) {
  CaptureDirectory directory;
  directory.writeMovie(0, 3);
  RunningDevice device(directory, nullptr, false);
  AudioDecoderCapture decoder;
  decoder.setCaptureDevice(device.id());
  AudioSampleBuffer block;
  ASSERT_EQ(block.allocBuffer(Movie::kSamplesPerPicture, 2, 48000), kSuccess);
  uint32_t flags = 0;
  int64_t timecode = 0;
  decoder.captureFrame(block, &flags, &timecode);
  EXPECT_EQ(device.setRunning(true), kSuccess);
  uint64_t expected = 0;
  EXPECT_TRUE(pollFor(7, [&] {
    decoder.captureFrame(block, &flags, &timecode);
    if (flags == 0) return false;
    EXPECT_EQ(block.getTimecode(), expected * Movie::kSamplesPerPicture);
    EXPECT_EQ(timecode, static_cast<int64_t>(expected * kPeriodMs));
    const auto* samples = reinterpret_cast<const int16_t*>(block.getBuffer());
    // Two of three pictures are played: the sound starts again with them.
    const auto first = static_cast<int16_t>(expected++ % 2 * Movie::kSamplesPerPicture);
    EXPECT_EQ(samples[0], first);
    EXPECT_EQ(samples[2 * Movie::kSamplesPerPicture - 1], -(first + Movie::kSamplesPerPicture - 1));
    return true;
  }));
  EXPECT_GT(device->getAudioLastLevelData().peakLeft, 0);

  // A block that doesn't fit is lost, not half of it.
  AudioSampleBuffer tooSmall;
  ASSERT_EQ(tooSmall.allocBuffer(Movie::kSamplesPerPicture - 1, 2, 48000), kSuccess);
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  EXPECT_EQ(decoder.captureFrame(tooSmall, &flags, &timecode), kSuccess);
  EXPECT_EQ(flags, 0u);
}

TEST(CaptureSession, ShowsTheLastWholePictureWhenTheFileShrinksAndTellsItOnce) {
  LogCollector log;
  CaptureDirectory directory;
  directory.writeMovie(0, 6);
  RunningDevice device(directory, &log, false);
  std::filesystem::resize_file(directory.device(0) + "/video.yuv", 2 * 64 * 48 * 3 / 2 + 100);
  SessionDriver driver({.captureDevice = device.id()});
  driver.decode(kAny, 0);
  device.setRunning(true);
  int position = 0;
  EXPECT_TRUE(pollFor(5, [&] {
    if (!driver.decode(kAny, 0)) return false;
    expectPicture(*driver.decodedFrame(), std::min(position++, 1));
    return true;
  }));
  device.setRunning(false);
  std::vector<LogStatement> lines;
  log.getLogStatements(lines);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_THAT(lines[0].str, ::testing::HasSubstr("Short video file"));
}

TEST(CaptureSession, SessionsComeAndGoWhileTheDeviceStartsAndStops) {
  CaptureDirectory directory;
  directory.writeMovie(0, 4, "video.frameRateEnum: 100\n");
  RunningDevice device(directory, nullptr);
  EXPECT_EQ(device.setRunning(true), 2u);
  std::atomic<int> pictures{0};
  const auto sessions = [&] {
    for (int i = 0; i < 6; ++i) {
      SessionDriver driver({.captureDevice = device.id()});
      // Closed with frames waiting, and with one in hand.
      EXPECT_TRUE(pollFor(2 + i % 2, [&] { return driver.decode(kAny, 0) && ++pictures > 0; }));
    }
  };
  std::thread one(sessions), two(sessions);
  for (int i = 0; i < 5; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    uint8_t* bytes = nullptr;
    uint32_t width = 0, height = 0, stride = 0;
    uint64_t timecode = 0;
    if (device->getFrameBGRA(&bytes, &width, &height, &stride, &timecode) == kSuccess) {
      EXPECT_EQ(stride, 64u * 4);
      std::free(bytes);
    }
    device->getCaptureSessionInfo();
    device.setRunning(false);
    EXPECT_EQ(device.setRunning(false), 3u);
    device.setRunning(true);
  }
  one.join();
  two.join();
  EXPECT_EQ(pictures, 2 * (3 * 2 + 3 * 3));
  EXPECT_EQ(device->getFrameSinkCount(), 1u);
  device->setActive(0);
  EXPECT_EQ(device.setRunning(true), 8u);
  device->setActive(1);
}

TEST(CaptureSession, ADeviceThatIsNotThereIsToldOnce) {
  SessionDriver driver({.captureDevice = 9999});
  driver.takeLog();
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(driver.decode(kAny, 0));
  EXPECT_THAT(driver.takeLog(),
              ::testing::ElementsAre(::testing::HasSubstr("No capture device has this id: 9999")));
}

}  // namespace
}  // namespace qvs::test

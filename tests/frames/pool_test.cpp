#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "capture/CaptureAncillaryDataUtils.h"
#include "frames/AudioSampleBufferSet.h"
#include "frames/VideoFrameEncoded.h"
#include "log/LogCollector.h"
#include "Pictures.h"

namespace qvs::test {
namespace {

/// Takes a frame the way a session does: the reference is the server's.
VideoFrameBuffer* take(VideoFrameBufferSet& set) {
  const auto token = set.getVideoFrameBufferAllocator()->allocate();
  if (!token) return nullptr;
  (*token)->createJavaBufferAllocation();
  return &**token;
}

TEST(Pool, GivesEachFrameOnceAndTakesThemBackInAnyOrder) {
  VideoFrameBufferSet set;
  EXPECT_EQ(set.initialize(0), kSuccess);
  EXPECT_EQ(take(set), nullptr);
  set.initialize(3);
  VideoFrameBuffer* frames[] = {take(set), take(set), take(set)};
  EXPECT_EQ(take(set), nullptr);
  ASSERT_NE(frames[2], nullptr);
  EXPECT_NE(frames[0], frames[1]);
  frames[1]->releaseJavaBufferAllocation();
  frames[0]->releaseJavaBufferAllocation();
  EXPECT_EQ(take(set), frames[0]) << "released last, handed out first";
  EXPECT_EQ(take(set), frames[1]);
  EXPECT_EQ(take(set), nullptr);
}

TEST(Pool, FrameReturnsWithItsLastReference) {
  VideoFrameBufferSet set;
  set.initialize(1);
  VideoFrameBuffer* frame = take(set);
  frame->createJavaBufferAllocation();
  auto held = frame->getBufferAllocation();
  frame->releaseJavaBufferAllocation();
  frame->releaseJavaBufferAllocation();
  frame->releaseJavaBufferAllocation();
  EXPECT_EQ(take(set), nullptr) << "an encoder still reads it";
  std::thread([&] { held.reset(); }).join();
  EXPECT_EQ(take(set), frame);
}

TEST(Pool, ReinitialisingReplacesTheFrames) {
  VideoFrameBufferSet set;
  set.initialize(2);
  take(set);
  auto held = take(set)->getBufferAllocation();
  set.initialize(1);
  EXPECT_NE(take(set), &**held);
  EXPECT_EQ(take(set), nullptr);
  EXPECT_EQ(set.getVideoFrameBuffer(1), nullptr);
  held.reset();
  EXPECT_EQ(take(set), nullptr) << "a frame of the old pool must not come back";
}

TEST(Pool, TokenOutlivesItsPool) {
  std::shared_ptr<VideoFrameBufferAllocation> held;
  {
    VideoFrameBufferSet set;
    set.initialize(1);
    held = take(set)->getBufferAllocation();
    (*held)->allocBuffer(16, 16, kFourCCYV12);
    set.setScaleFlags(kScaleFlagPlaceOnCpu);
  }
  EXPECT_EQ((*held)->getBufferSet(), nullptr);
  EXPECT_EQ((*held)->getScaleFlags(), kScaleFlagPlaceOnCpu)
      << "what it is asked for must outlive the pool too";
  VideoFrameBuffer source;
  source.allocBuffer(16, 16, kFourCCYV12);
  paint(source, kRed);
  EXPECT_EQ((*held)->transferFrame(source, false), kSuccess);
  EXPECT_EQ(source.transferFrame(**held, false), kSuccess);
  EXPECT_TRUE(isColor(source, kRed));
}

/// An encoder's thread drops the last reference while the server takes another.
TEST(Pool, AcquiringMeetsTheWayBack) {
  VideoFrameBufferSet set;
  set.initialize(1);
  VideoFrameBuffer& frame = *set.getVideoFrameBuffer(0);
  std::atomic<bool> done{false};
  std::thread encoder([&] {
    while (!done) set.getVideoFrameBufferAllocator()->allocate();
  });
  for (int round = 0; round < 5000; ++round) {
    frame.createJavaBufferAllocation();
    frame.releaseJavaBufferAllocation();
  }
  done = true;
  encoder.join();
  EXPECT_NE(take(set), nullptr);
}

TEST(Pool, FramesMoveBetweenThreads) {
  VideoFrameBufferSet set;
  set.initialize(4);
  const auto pool = set.getVideoFrameBufferAllocator();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 2000; ++round) {
        if (const auto token = pool->allocate()) (*token)->setTimecode(1);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  int count = 0;
  while (take(set) != nullptr) ++count;
  EXPECT_EQ(count, 4);
}

TEST(Pool, DeviceStartIsTriedOnce) {
  LogCollector log;
  VideoFrameBufferSet set;
  set.setLogger(&log);
  set.setScaleImplementation(kScaleCUDA);
  EXPECT_EQ(set.initialize(1), kSuccess);
  EXPECT_EQ(set.initVideoScaleCUDA(), kSuccess);
  std::vector<LogStatement> lines;
  log.getLogStatements(lines);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].level, kLogWarn);
}

TEST(AudioSampleBuffer, HoldsWholeBlocksOrNothing) {
  AudioSampleBuffer block;
  ASSERT_EQ(block.allocBuffer(1024, 2, 48000), kSuccess);
  EXPECT_EQ(block.getLen(), 4096u);
  block.getBuffer()[4095] = 1;
  EXPECT_EQ(block.allocBuffer(0x80000000, 0x80000000, 1), kFailure);
  EXPECT_EQ(block.getBuffer(), nullptr);
  EXPECT_EQ(block.allocBuffer(0x40000000, 2, 1), kFailure) << "4 GiB don't fit the length";
  AudioSampleBufferSet set;
  set.initialize(4);
  AudioSampleBuffer* first = set.getAudioSampleBuffer(0);
  set.initialize(4);
  EXPECT_EQ(set.size(), 8u);
  EXPECT_EQ(set.getAudioSampleBuffer(0), first) << "growth keeps addresses";
  EXPECT_EQ(set.getAudioSampleBuffer(8), nullptr);
}

TEST(VideoFrameEncoded, StartsEmptyAndCopiesWhole) {
  VideoFrameEncoded frame;
  EXPECT_EQ(frame.getBuffer(), nullptr);
  EXPECT_FALSE(frame.isAllocated() || frame.isJavaBuffer() || frame.isCodecConfig());
  uint8_t byte = 0;
  VideoFrameEncoded full(&byte, 1, 40, -5, 2, true);
  VideoFrameEncodedData data{};
  full.getFrameData(data);
  frame.setFrameData(data);
  EXPECT_EQ(frame.getTimecodeOffset(), -5);
  EXPECT_EQ(frame.getFrameType(), 2u);
  EXPECT_TRUE(frame.isAllocated());
}

/// Packs one group of twelve 10-bit samples.
void packGroup(const uint16_t* samples, uint8_t* bytes) {
  for (int word = 0; word < 4; ++word) {
    const uint32_t value =
        samples[word * 3] | samples[word * 3 + 1] << 10 | uint32_t{samples[word * 3 + 2]} << 20;
    std::memcpy(bytes + word * 4, &value, 4);
  }
}

TEST(CaptureAncillaryData, UnpacksSamples) {
  uint16_t samples[24];
  for (int i = 0; i < 24; ++i) samples[i] = static_cast<uint16_t>(1023 - 37 * i);
  std::vector<uint8_t> line(32);
  packGroup(samples, line.data());
  packGroup(samples + 12, line.data() + 16);
  uint16_t out[24] = {};
  uint32_t written = 99;
  CaptureAncillaryDataUtils::getAncillaryData(line.data(), 14, 1, out, &written);
  EXPECT_EQ(written, 14u);
  EXPECT_EQ(std::vector<uint16_t>(out, out + 14), std::vector<uint16_t>(samples, samples + 14));
  EXPECT_EQ(out[14], 0);
  CaptureAncillaryDataUtils::getAncillaryData(line.data(), 7, 0, out, &written);
  EXPECT_EQ(written, 7u);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(out[i], samples[i * 2 + 1]);

  std::vector<uint8_t> image(96, 0), luma(14, 7);
  std::copy(line.begin(), line.end(), image.begin() + 32);
  CaptureAncillaryDataUtils::getYOfImageData(image.data(), 7, 32, 2, 2, luma.data());
  for (int i = 0; i < 7; ++i) EXPECT_EQ(luma[i], samples[i * 2 + 1] >> 2);
  EXPECT_EQ(luma[7], 7);
}

}  // namespace
}  // namespace qvs::test

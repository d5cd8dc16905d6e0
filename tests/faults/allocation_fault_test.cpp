// Whichever allocation fails: nothing crashes, nothing leaks, and the next run is as good as any.

#include <gtest/gtest.h>
#include <zimg.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "audio/SampleBlocks.h"
#include "frames/AudioFrameEncoded.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoOverlayFrame.h"
#include "platform/FreeDeleter.h"
#include "support/FailingAllocator.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"

namespace qvs::test {
namespace {

struct Outcome {
  bool failed = false;  ///< some operation said so, or the object could not be made
  uint64_t count = 0;   ///< of what came out
  uint64_t sum = 0;     ///< over it
};

/// Fails each allocation of `walk` in turn. `lost`: blocks that a library forgets when it is refused one.
template <typename Walk>
void failEach(FailureMode mode, Walk walk, int64_t lost = 0) {
  const Outcome good = walk();  // what loads once is there before anything is counted
  ASSERT_FALSE(good.failed);
  ASSERT_GT(good.count, 0u);
  armAllocator(0, FailureMode::Once);
  walk();
  const AllocatorReport baseline = disarmAllocator();
  ASSERT_GT(baseline.allocations, 10u);
  bool reached = true;
  for (uint64_t number = 1; reached; ++number) {
    ASSERT_LT(number, 4 * baseline.allocations + 100) << "never gets past its failing allocation";
    armAllocator(number, mode);
    const Outcome hurt = walk();
    const AllocatorReport report = disarmAllocator();
    reached = report.failed;
    EXPECT_LE(report.liveBlocks, baseline.liveBlocks + lost) << "leak after failing allocation " << number;
    if (!hurt.failed && hurt.count == good.count) {
      EXPECT_EQ(hurt.sum, good.sum) << "allocation " << number
                                    << " failed, nobody said so, and the output is another";
    }
    const Outcome after = walk();
    ASSERT_FALSE(after.failed) << "after failing allocation " << number;
    ASSERT_EQ(after.sum, good.sum) << "after failing allocation " << number;
  }
}

class AllocationFault : public testing::TestWithParam<FailureMode> {};

/// A half-transparent logo of 8x8 that is scaled to 12x12.
VideoOverlayFrame* makeLogo() {
  constexpr uint32_t kSide = 8;
  constexpr uint32_t kBytes = kSide * kSide * 4;
  std::unique_ptr<uint8_t, FreeDeleter> image(static_cast<uint8_t*>(std::malloc(kBytes)));
  if (!image) throw std::bad_alloc();
  std::memset(image.get(), 0x90, kBytes);
  auto* logo = new VideoOverlayFrame(fourcc("BGRA"), image.get(), kBytes, kSide * 4, 0, kSide, kSide);
  static_cast<void>(image.release());
  logo->setDestinationLocation(4, 4, 12, 12, 17);
  return logo;
}

Outcome transcode(const std::vector<Packet>& stream) {
  Outcome result;
  UnitSum sum;
  try {
    SessionDriver driver({.rungs = {{64, 48}, {.width = 32, .height = 24, .fitMode = 1}},
                          .sink = [&](uint32_t, const VideoFrameEncoded& unit) { sum.add(unit); }},
                         OnFailure::kGoOn);
    result.failed = !driver.isOpen();
    if (result.failed) return result;
    TranscoderSession& session = driver.session();
    result.failed |= session.videoDecoderBufferSetOverlayVideoFrame(0, makeLogo()) != kSuccess;
    result.failed |= session.videoEncoderBufferSetOverlayVideoFrame(0, 0, makeLogo()) != kSuccess;
    uint64_t timecode = 0;
    for (const auto& packet : stream) {
      const auto step = driver.feed(packet, timecode, timecode == 0 ? 1 : 2);
      result.failed |= step.failed;
      result.count += step.packetCount;
      timecode += 40;
    }
    result.sum = sum.value();
  } catch (const std::bad_alloc&) {
    result.failed = true;  // only the constructor may let it through: there is no object yet to answer
  }
  return result;
}

TEST_P(AllocationFault, InAVideoSession) {
  // The scaler library keeps the text of a thread's last failure: its memory is no leak.
  zimg_image_format nothing;
  zimg_image_format_default(&nothing, ZIMG_API_VERSION);
  ASSERT_EQ(zimg_filter_graph_build(&nothing, &nothing, nullptr), nullptr);
  const auto stream = makePackets(8, 64, 48, 3);
  failEach(GetParam(), [&] { return transcode(stream); });
}

Outcome encodeAudio(uint32_t codec) {
  Outcome result;
  try {
    TranscoderSession session;
    int32_t index = -1;
    result.failed = session.audioEncoderAdd(codec, 0, &index) != kSuccess;
    if (result.failed) return result;
    session.audioEncoderSetSampleRate(0, 48000);
    session.audioEncoderSetChannels(0, 2);
    session.audioEncoderSetBitrate(0, 128000);
    result.failed |= session.audioEncoderInitialize(0) != kSuccess;
    result.failed |= session.audioDecoderBuffersCreate(1) != kSuccess;
    result.failed |= session.audioDecoderBuffersAllocate(1000, 2, 48000) != kSuccess;
    for (uint32_t block = 0; block < 6; ++block) {
      if (session.audioEncoderEncodeBufferStart(0, 0) != kSuccess) {
        result.failed = true;
        continue;
      }
      EncodedAudioUnits frames;
      result.failed |= session.audioEncoderAddSampleBuffer(0, 0, frames) != kSuccess;
      for (const AudioFrameEncoded& frame : frames) {
        ++result.count;
        result.sum += frame.getLen();
      }
      session.audioEncoderEncodeBufferDone(0, 0);
    }
  } catch (const std::bad_alloc&) {
    result.failed = true;
  }
  return result;
}

TEST_P(AllocationFault, InAudioEncoders) {
#ifdef QVS_WRAPPED_ALLOCATOR
  // libvorbis takes each allocation of its own for granted and libavcodec aborts, so only this library's may fail.
  for (const uint32_t codec : {kAudioCodecAAC, kAudioCodecOpus, kAudioCodecVorbis})
    failEach(GetParam(), [&] { return encodeAudio(codec); });
#else
  failEach(GetParam(), [] { return encodeAudio(kAudioCodecOpus); });
#endif
}

class DroppingLogger : public ILogger {
 public:
  void debug(const std::string&) override {}
  void info(const std::string&) override {}
  void warn(const std::string&) override {}
  void error(const std::string&) override {}
  void fatal(const std::string&) override {}
  void debug(int, int, const std::string&) override {}
  void info(int, int, const std::string&) override {}
  void warn(int, int, const std::string&) override {}
  void error(int, int, const std::string&) override {}
  void fatal(int, int, const std::string&) override {}
};

/// Two formats and a gap through one resampler; counts samples a channel.
Outcome resample(const std::vector<int16_t>& samples, uint32_t blockSize, ILogger& log) {
  constexpr uint32_t kBlocks = 12;
  Outcome result;
  AudioResampler resampler;
  resampler.setLogger(&log);
  setTarget(resampler, 48000, 2);
  AudioSampleBuffer out;
  for (uint32_t block = 0; block < kBlocks; ++block) {
    // Out of memory may reach the caller, who guards the call; the resampler must be fit for the next one.
    try {
      AudioSampleBuffer in;
      fillBlock(in, samples.data(), blockSize, block < kBlocks / 3 ? 2 : 1, 44100,
                block * blockSize + (block < 2 * kBlocks / 3 ? 0 : 5000));
      out.setSampleCount(0);
      if (block % 3 == 2) out = AudioSampleBuffer();
      resampler.resample(in, out);
    } catch (const std::bad_alloc&) {
      result.failed = true;
      out.setSampleCount(0);
    }
    result.count += out.getSampleCount();
  }
  result.sum = result.count;
  return result;
}

TEST_P(AllocationFault, InAResampler) {
  constexpr uint32_t kBlock = 1024;
  const std::vector<int16_t> samples(kBlock * 2, 1000);
  DroppingLogger log;
#ifdef QVS_WRAPPED_ALLOCATOR
  constexpr int64_t kLost = 0;  // the library's allocations aren't seen
#else
  constexpr int64_t kLost = 1;  // libswresample forgets a buffer that it can't make larger
#endif
  failEach(
      GetParam(), [&] { return resample(samples, kBlock, log); }, kLost);
}

INSTANTIATE_TEST_SUITE_P(Modes, AllocationFault, testing::Values(FailureMode::Once, FailureMode::FromThen),
                         [](const auto& info) {
                           return info.param == FailureMode::Once ? "OneFails" : "AllFailFromThen";
                         });

}  // namespace
}  // namespace qvs::test

// What every video encoder keeps to, whatever codec is behind it. A new one is a row of `kEncoders`.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "contract/StageIds.h"
#include "EncoderUnderTest.h"
#include "frames/VideoFrameBufferSet.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderH264.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr uint32_t kFail = 0xFFFFFFFFu;
constexpr uint32_t kReorderingDelay = 10003;

template <typename Encoder>
std::unique_ptr<IVideoEncoder> make() {
  return std::make_unique<Encoder>();
}

struct EncoderRow {
  const char* name;
  std::unique_ptr<IVideoEncoder> (*make)();
  uint32_t codec, codecVersion;
  uint32_t asynchronousKey;
  uint32_t flushKey;              ///< 0 where nothing is held back
  std::vector<uint32_t> formats;  ///< that it refuses beside those that are no 4:2:0
  std::vector<std::pair<uint32_t, int64_t>> parameters;
  uint32_t (*failToStart)(IVideoEncoder& encoder);
  const char* failure;      ///< of the line that tells it
  uint32_t addedToNothing;  ///< answer to a frame for a codec that didn't start
};

uint32_t startWithoutSize(IVideoEncoder& encoder) {
  encoder.setFrameSize(0, 0);
  return encoder.initialize();
}

uint32_t startUnapplied(IVideoEncoder& encoder) {
  return encoder.initialize();
}

EncoderRow vpx(const char* name, uint32_t version) {
  return {name,
          make<VideoEncoderVPX>,
          kVideoCodecVPX,
          version,
          VideoEncoderVPX::kKeyAsynchronous,
          0,
          {kFourCCNV12},
          {{VideoEncoderVPX::kKeyThreadCount, 1}},
          startWithoutSize,
          "VideoEncoderVPX",
          0};
}

EncoderRow h264(const char* name, int64_t delay) {
  return {name,
          make<VideoEncoderH264>,
          kVideoCodecH264,
          0,
          VideoEncoderH264::kKeyAsynchronous,
          VideoEncoderH264::kKeyFlush,
          {},
          {{kReorderingDelay, delay}},
          startUnapplied,
          "VideoEncoderH264.initialize[{context}]: h264OutVideoNew failed: ",
          kFail};
}

const EncoderRow kEncoders[] = {vpx("VP8", 8), vpx("VP9", 9), h264("H264", 1), h264("H264Reordering", 3)};

void PrintTo(const EncoderRow& row, std::ostream* out) {
  *out << row.name;
}

class EncoderContract : public testing::TestWithParam<EncoderRow> {
 protected:
  /// As a session sets it up, up to `start`.
  class Run : public EncoderUnderTest<IVideoEncoder> {
   public:
    Run(const EncoderRow& row, uint32_t width, uint32_t height, bool asynchronous = false)
        : EncoderUnderTest(row.make()), row(row) {
      encoder.setCodecAndVersion(row.codec, row.codecVersion);
      encoder.setDefaults(0, 0);
      setSize(width, height);
      encoder.setFrameRate(25);
      encoder.setBitrate(2000000);
      encoder.setKeyFrameFollow(1);
      for (const auto& [key, value] : row.parameters) set(key, value);
      set(row.asynchronousKey, asynchronous);
    }

    void setSize(uint32_t width, uint32_t height) {
      encoder.setFrameSize(width, height);
      size = {width, height};
    }

    void paint(VideoFrameBuffer& frame, uint32_t number) const {
      frame.allocBuffer(size.first, size.second, kFourCCYV12);
      paintTestPicture(frame, number);
    }

    std::vector<EncodedUnit> finish() {
      if (row.flushKey != 0) set(row.flushKey, 1);
      return take();
    }

    const EncoderRow& row;
    std::pair<uint32_t, uint32_t> size;
  };
};

TEST_P(EncoderContract, RefusesFramesThatItWouldReadBeyondAndKeepsItsTimes) {
  Run run(GetParam(), 64, 64);
  ASSERT_EQ(run.start(), 0u);
  run.logLines();
  std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> wrong = {{32, 32, kFourCCYV12},
                                                                 {64, 32, kFourCCYV12},
                                                                 {128, 128, kFourCCYV12},
                                                                 {64, 64, kFourCCBGRA},
                                                                 {64, 64, kFourCCYV16}};
  for (const uint32_t format : GetParam().formats) wrong.push_back({64, 64, format});
  for (const auto& [width, height, format] : wrong) {
    VideoFrameBuffer frame;
    frame.allocBuffer(width, height, format);
    EXPECT_EQ(run.encoder.addFrame(frame, 0, 5), 0u);
  }
  VideoFrameBuffer frame;
  EXPECT_EQ(run.encoder.addFrame(frame, 0, 5), 0u) << "without storage";
  EXPECT_EQ(run.encoder.getEncodedFrameCount(), 0u);
  EXPECT_THAT(run.logLines(), ElementsAre(HasSubstr("32x32"))) << "one line, not one a frame";
  run.paint(frame, 0);
  run.encoder.addFrame(frame, 0, 700);
  const std::vector<EncodedUnit> units = run.finish();
  ASSERT_EQ(units.size(), 1u);
  EXPECT_EQ(units[0].presentation(), 700);
}

TEST_P(EncoderContract, FailsToStartWithALineAndStaysHarmless) {
  Run run(GetParam(), 64, 64);
  EXPECT_EQ(GetParam().failToStart(run.encoder), kFail);
  EXPECT_THAT(run.logLines(), ElementsAre(HasSubstr(GetParam().failure)));
  VideoFrameBuffer frame;
  run.paint(frame, 0);
  EXPECT_EQ(run.encoder.addFrame(frame, 0, 0), GetParam().addedToNothing);
  EXPECT_TRUE(run.take().empty());
  run.setSize(64, 64);
  ASSERT_EQ(run.start(), 0u);
  EXPECT_EQ(run.encoder.addFrame(frame, 0, 0), 0u);
  EXPECT_EQ(run.finish().size(), 1u);
}

/// Encodes from a pool, giving each frame back before its unit is asked for.
template <typename Run>
std::vector<EncodedUnit> encodeFromPool(Run&& run, uint32_t poolSize) {
  EXPECT_EQ(run.start(), 0u);
  VideoFrameBufferSet pool;
  pool.initialize(poolSize);
  std::vector<EncodedUnit> units;
  const auto collect = [&](std::vector<EncodedUnit> more) {
    for (EncodedUnit& unit : more) units.push_back(std::move(unit));
  };
  for (uint32_t number = 0; number < 24; ++number) {
    auto token = pool.getVideoFrameBufferAllocator()->allocate();
    if (!token) {
      collect(run.take());
      token = pool.getVideoFrameBufferAllocator()->allocate();
    }
    run.paint(**token, number);
    if (number == 13) run.encoder.updateBitrate(500000);
    run.encoder.addFrame(**token, number % 9 == 8 ? 1 : 0, number * 40);
  }
  collect(run.finish());
  return units;
}

TEST_P(EncoderContract, GivesTheSamePacketsToTheBitWhenAsynchronous) {
  for (const auto& [width, height] : {std::pair{160u, 96u}, {161u, 97u}}) {
    const auto plain = encodeFromPool(Run(GetParam(), width, height), 2);
    EXPECT_EQ(plain.size(), 24u);
    for (const uint32_t poolSize : {1u, 3u})
      EXPECT_TRUE(encodeFromPool(Run(GetParam(), width, height, true), poolSize) == plain)
          << width << ", " << poolSize;
    if (GetParam().codec != kVideoCodecH264) continue;
    Run queueing(GetParam(), width, height, true);
    queueing.set(VideoEncoderH264::kKeyAsynchronousDepth, 3);
    EXPECT_TRUE(encodeFromPool(std::move(queueing), 5) == plain) << width << ", with pictures that wait";
  }
}

// The frame in work goes back to its pool on the thread that waits for it, so that the pool tells who waited.
TEST_P(EncoderContract, KeepsAFrameOutOfItsPoolWhileItReadsAndFinishesItInEverySetter) {
  const std::function<void(Run&)> calls[] = {
      [](Run& run) { run.encoder.finish(); },
      [](Run& run) { EXPECT_EQ(run.finish().size(), 1u); },
      [](Run& run) { run.encoder.setDefaults(0, 0); },
      [](Run& run) { run.encoder.setFrameSize(32, 32); },
      [](Run& run) { run.encoder.setFrameRate(50); },
      [](Run& run) { run.encoder.setBitrate(100000); },
      [](Run& run) { run.set(run.row.asynchronousKey, 1); },
      [](Run& run) { run.encoder.setSessionIndex(2); },
      [](Run& run) { run.encoder.setLogger(nullptr); },
  };
  for (size_t number = 0; number < std::size(calls); ++number) {
    Run run(GetParam(), 64, 64, true);
    ASSERT_EQ(run.start(), 0u);
    VideoFrameBufferSet pool;
    pool.initialize(1);
    auto token = pool.getVideoFrameBufferAllocator()->allocate();
    run.paint(**token, 0);
    run.encoder.addFrame(**token, 0, 0);
    token.reset();
    EXPECT_EQ(pool.getVideoFrameBufferAllocator()->allocate(), nullptr) << "call " << number;
    calls[number](run);
    EXPECT_NE(pool.getVideoFrameBufferAllocator()->allocate(), nullptr) << "call " << number;
  }
}

// The frame in work goes back to its pool on the thread that waits for it, so that the pool tells who waited.
TEST_P(EncoderContract, FinishesTheFrameInWorkBeforeASetterReturns) {
  using Call = void (*)(IVideoEncoder&, uint32_t asynchronousKey);
  constexpr Call kCalls[] = {
      [](IVideoEncoder& encoder, uint32_t) { encoder.finish(); },
      [](IVideoEncoder& encoder, uint32_t) { encoder.setDefaults(0, 0); },
      [](IVideoEncoder& encoder, uint32_t) { encoder.setFrameSize(32, 32); },
      [](IVideoEncoder& encoder, uint32_t) { encoder.setFrameRate(50); },
      [](IVideoEncoder& encoder, uint32_t) { encoder.setBitrate(100000); },
      [](IVideoEncoder& encoder, uint32_t key) { encoder.setParameterValue(key, int64_t{1}); },
      [](IVideoEncoder& encoder, uint32_t) { encoder.setSessionIndex(2); },
      [](IVideoEncoder& encoder, uint32_t) { encoder.setLogger(nullptr); },
  };
  for (size_t number = 0; number < std::size(kCalls); ++number) {
    Run run(GetParam(), 64, 64, true);
    ASSERT_EQ(run.start(), 0u);
    VideoFrameBufferSet pool;
    pool.initialize(1);
    auto token = pool.getVideoFrameBufferAllocator()->allocate();
    run.paint(**token, 0);
    run.encoder.addFrame(**token, 0, 0);
    token.reset();
    EXPECT_EQ(pool.getVideoFrameBufferAllocator()->allocate(), nullptr) << "call " << number;
    kCalls[number](run.encoder, GetParam().asynchronousKey);
    EXPECT_NE(pool.getVideoFrameBufferAllocator()->allocate(), nullptr) << "call " << number;
  }
}

TEST_P(EncoderContract, ReadsAFrameOutsideAPoolBeforeItReturns) {
  std::vector<std::vector<EncodedUnit>> both;
  for (const bool asynchronous : {false, true}) {
    Run run(GetParam(), 64, 64, asynchronous);
    ASSERT_EQ(run.start(), 0u);
    VideoFrameBuffer frame;
    run.paint(frame, 0);
    run.encoder.addFrame(frame, 0, 0);
    run.paint(frame, 7);
    both.push_back(run.finish());
  }
  EXPECT_EQ(both[0].size(), 1u);
  EXPECT_TRUE(both[0] == both[1]);
}

TEST_P(EncoderContract, LeavesNothingBehindWhenDroppedInMidStream) {
  VideoFrameBufferSet pool;
  pool.initialize(8);
  for (int round = 0; round < 4; ++round) {
    Run run(GetParam(), 320, 240, round % 2 == 1);
    ASSERT_EQ(run.start(), 0u);
    for (uint32_t number = 0; number < 8; ++number) {
      auto token = pool.getVideoFrameBufferAllocator()->allocate();
      ASSERT_NE(token, nullptr) << number;
      run.paint(**token, number);
      run.encoder.addFrame(**token, 0, number * 40);
    }
  }
  EXPECT_NE(pool.getVideoFrameBufferAllocator()->allocate(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Encoders, EncoderContract, testing::ValuesIn(kEncoders),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace qvs::test

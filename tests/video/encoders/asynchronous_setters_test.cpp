#include <gtest/gtest.h>

#include <memory>

#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"
#include "log/LogCollector.h"
#include "video/encoders/VideoEncoderH264.h"
#include "video/encoders/VideoEncoderVPX.h"

namespace qvs {
namespace {

template <typename Encoder>
class AsynchronousEncoder : public testing::Test {};
using Encoders = testing::Types<VideoEncoderH264, VideoEncoderVPX>;
TYPED_TEST_SUITE(AsynchronousEncoder, Encoders);

// The frame in work goes back to its pool on the thread that waits for it, so that the pool tells who waited.
TYPED_TEST(AsynchronousEncoder, FinishesTheFrameInWorkBeforeASetterReturns) {
  using Call = void (*)(IVideoEncoder&);
  constexpr Call kCalls[] = {
      [](IVideoEncoder& encoder) { encoder.finish(); },
      [](IVideoEncoder& encoder) { encoder.setDefaults(0, 0); },
      [](IVideoEncoder& encoder) { encoder.setFrameSize(32, 32); },
      [](IVideoEncoder& encoder) { encoder.setFrameRate(50); },
      [](IVideoEncoder& encoder) { encoder.setBitrate(100000); },
      [](IVideoEncoder& encoder) { encoder.setParameterValue(TypeParam::kKeyAsynchronous, int64_t{1}); },
      [](IVideoEncoder& encoder) { encoder.setSessionIndex(2); },
      [](IVideoEncoder& encoder) { encoder.setLogger(nullptr); },
  };
  LogCollector log;
  for (size_t number = 0; number < std::size(kCalls); ++number) {
    TypeParam encoder;
    encoder.setLogger(&log);
    encoder.setDefaults(0, 0);
    encoder.setFrameSize(64, 64);
    encoder.setFrameRate(25);
    encoder.setParameterValue(TypeParam::kKeyAsynchronous, int64_t{1});
    encoder.applyParameters();
    ASSERT_EQ(encoder.initialize(), kSuccess);
    VideoFrameBufferSet pool;
    pool.initialize(1);
    auto token = pool.getVideoFrameBufferAllocator()->allocate();
    (*token)->allocBuffer(64, 64, kFourCCYV12, 1);
    EXPECT_EQ(encoder.addFrame(**token, 0, 0), kSuccess);
    token.reset();
    EXPECT_EQ(pool.getVideoFrameBufferAllocator()->allocate(), nullptr) << "call " << number;
    kCalls[number](encoder);
    EXPECT_NE(pool.getVideoFrameBufferAllocator()->allocate(), nullptr) << "call " << number;
  }
}

}  // namespace
}  // namespace qvs

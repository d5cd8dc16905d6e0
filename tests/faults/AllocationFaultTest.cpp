#include <gtest/gtest.h>
#include <zimg.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "frames/geometry/FourCC.h"
#include "frames/VideoOverlayFrame.h"
#include "platform/FreeDeleter.h"
#include "support/FailingAllocator.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"

namespace qvs::test {
namespace {

struct Walk {
  bool failed = false;  ///< some operation said so, or the session could not be made
  uint32_t packetCount = 0;
  uint64_t packetSum = 0;
};

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

/// From construction to destruction of a session.
Walk walk(const std::vector<Packet>& stream) {
  Walk result;
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
      result.packetCount += step.packetCount;
      timecode += 40;
    }
    result.packetSum = sum.value();
  } catch (const std::bad_alloc&) {
    result.failed = true;  // only the constructor may let it through: there is no object yet to answer
  }
  return result;
}

/// The scaler library keeps the text of a thread's last failure: its memory is no leak, so it is there before
/// anything is counted.
void makeFailureText() {
  zimg_image_format nothing;
  zimg_image_format_default(&nothing, ZIMG_API_VERSION);
  ASSERT_EQ(zimg_filter_graph_build(&nothing, &nothing, nullptr), nullptr);
}

class AllocationFault : public testing::TestWithParam<FailureMode> {};

TEST_P(AllocationFault, EveryAllocationOfASession) {
  makeFailureText();
  const auto stream = makePackets(8, 64, 48, 3);
  const Walk good = walk(stream);
  ASSERT_FALSE(good.failed);
  ASSERT_EQ(good.packetCount, 2 * stream.size());

  armAllocator(0, FailureMode::Once);
  walk(stream);
  const auto baseline = disarmAllocator();
  ASSERT_GT(baseline.allocations, 100u);

  uint64_t number = 1;
  for (;; ++number) {
    ASSERT_LT(number, 4 * baseline.allocations) << "the session never gets past its failing allocation";
    armAllocator(number, GetParam());
    const Walk hurt = walk(stream);
    const auto report = disarmAllocator();
    EXPECT_LE(report.liveBlocks, baseline.liveBlocks) << "leak after failing allocation " << number;
    const bool silent = !hurt.failed && hurt.packetCount == good.packetCount;
    EXPECT_TRUE(!silent || hurt.packetSum == good.packetSum)
        << "allocation " << number << " failed, nobody said so, and the packets are others";
    const Walk after = walk(stream);
    ASSERT_FALSE(after.failed) << "the session after failing allocation " << number;
    ASSERT_EQ(after.packetSum, good.packetSum) << "the session after failing allocation " << number;
    if (!report.failed) break;
  }
  RecordProperty("allocations", static_cast<int>(number));
}

INSTANTIATE_TEST_SUITE_P(Modes, AllocationFault, testing::Values(FailureMode::Once, FailureMode::FromThen),
                         [](const auto& info) {
                           return info.param == FailureMode::Once ? "OneFails" : "AllFailFromThen";
                         });

}  // namespace
}  // namespace qvs::test

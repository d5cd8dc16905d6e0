#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>

#include "frames/geometry/FourCC.h"
#include "frames/VideoOverlayFrame.h"
#include "road/Road.h"

namespace qvs::test {
namespace {

struct OverlayShape {
  const char* what;
  uint32_t bytes, stride, offset, width, height, targetWidth, targetHeight;
  int32_t x = 0, y = 0;
};

VideoOverlayFrame* makeOverlay(const OverlayShape& shape) {
  auto* image = static_cast<uint8_t*>(std::malloc(shape.bytes ? shape.bytes : 1));
  std::memset(image, 0x80, shape.bytes);
  auto* overlay = new VideoOverlayFrame(fourcc("BGRA"), image, shape.bytes, shape.stride, shape.offset,
                                        shape.width, shape.height);
  overlay->setDestinationLocation(shape.x, shape.y, shape.targetWidth, shape.targetHeight, 17);
  return overlay;
}

constexpr uint32_t kMax = std::numeric_limits<uint32_t>::max();

constexpr OverlayShape kHostile[] = {
    {"fewer bytes than stride and height claim", 16 * 4 * 15, 64, 0, 16, 16, 16, 16},
    {"no bytes", 0, 64, 0, 16, 16, 16, 16},
    {"offset past the end", 1024, 64, 1024, 16, 16, 16, 16},
    {"offset that overflows", 1024, 64, kMax - 3, 16, 16, 16, 16},
    {"stride times height overflows 32 bits", 1024, 0x10000001u, 0, 16, 16, 16, 16},
    {"width times four overflows 32 bits", 1024, 64, 0, 0x40000001u, 1, 16, 16},
    {"stride shorter than a row", 1024, 4, 0, 16, 16, 16, 16},
    {"larger than the picture", 1024, 64, 0, 16, 16, 4000, 4000},
    {"larger than any picture", 1024, 64, 0, 16, 16, kMax, kMax},
    {"no target", 1024, 64, 0, 16, 16, 0, 0},
    {"no source", 1024, 0, 0, 0, 0, 16, 16},
};

class HostileOverlays : public testing::Test {
 protected:
  std::vector<Packet> stream = makePackets(8, 96, 64, 2);
  Road road{RoadSetup{.rungs = {{48, 32}}}};

  void SetUp() override {
    ASSERT_TRUE(road.open());
    road.keepPictures(true);
    expected = road.feed(stream[0], 0, 1).decoded;
  }

  DecodedPicture expected;  ///< without overlays
};

/// An overlay that cannot be drawn leaves the picture alone, and the sound one beside it is drawn.
TEST_F(HostileOverlays, AreNotDrawnAndHurtNothing) {
  auto& session = road.getSession();
  auto& frames = session.getVideoDecoderBuffers();
  for (const auto& shape : kHostile) {
    SCOPED_TRACE(shape.what);
    session.videoDecoderBufferSetOverlayVideoFrame(0, makeOverlay(shape));
    session.videoEncoderBufferSetOverlayVideoFrame(0, 0, makeOverlay(shape));
    uint32_t buffer = 0;
    ASSERT_EQ(session.videoDecoderBufferAllocate(&buffer), 0u);
    auto& frame = *frames.getVideoFrameBuffer(buffer);
    frame.allocBuffer(96, 64, fourcc("YV12"));
    const std::vector<uint8_t> before(frame.getPlane(0), frame.getPlane(0) + 96 * 64 * 3 / 2);
    frames.applyOverlays(frame, frames.getOverlayFrames());
    const std::vector<uint8_t> after(frame.getPlane(0), frame.getPlane(0) + 96 * 64 * 3 / 2);
    EXPECT_EQ(before, after);
    EXPECT_EQ(session.videoDecoderBufferRelease(buffer), 0u);

    session.videoDecoderBufferSetOverlayVideoFrame(
        1, makeOverlay({"sound", 16 * 16 * 4, 64, 0, 16, 16, 16, 16, 8, 8}));
    ASSERT_EQ(session.videoDecoderBufferAllocate(&buffer), 0u);
    auto& second = *frames.getVideoFrameBuffer(buffer);
    std::memset(second.getPlane(0), 16, 96 * 64);
    frames.applyOverlays(second, frames.getOverlayFrames());
    EXPECT_NE(second.getPlane(0)[12 * 96 + 12], 16) << "the sound overlay is missing";
    EXPECT_EQ(session.videoDecoderBufferRelease(buffer), 0u);
    session.videoDecoderBufferSetOverlayVideoFrame(1, nullptr);
  }
  session.videoDecoderBufferSetOverlayVideoFrame(0, nullptr);
  session.videoEncoderBufferSetOverlayVideoFrame(0, 0, nullptr);
  const auto result = road.feed(stream[0], 80, 1);
  EXPECT_FALSE(result.failed);
  for (int plane = 0; plane < 3; ++plane) EXPECT_EQ(result.decoded.planes[plane], expected.planes[plane]);
}

TEST_F(HostileOverlays, ThroughTheWholeRoad) {
  auto& session = road.getSession();
  for (const auto& shape : kHostile) {
    SCOPED_TRACE(shape.what);
    session.videoDecoderBufferSetOverlayVideoFrame(3, makeOverlay(shape));
    session.videoEncoderBufferSetOverlayVideoFrame(0, 7, makeOverlay(shape));
    const auto result = road.feed(stream[0], 0, 1);
    EXPECT_TRUE(result.picture);
    EXPECT_FALSE(result.failed);
    EXPECT_EQ(result.packetCount, 1u);
  }
  // Nobody holds the overlay lock: a set that names no picture frees what it is given.
  EXPECT_NE(session.videoEncoderBufferSetOverlayVideoFrame(99, 0, makeOverlay(kHostile[0])), 0u);
}

}  // namespace
}  // namespace qvs::test

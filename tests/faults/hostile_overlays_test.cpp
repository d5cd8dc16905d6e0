#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>

#include "frames/geometry/FourCC.h"
#include "frames/VideoOverlayFrame.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"

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
    {"rows that go back before the image", 1024, 0u - 64, 0, 16, 16, 16, 16},
    {"larger than the picture", 1024, 64, 0, 16, 16, 4000, 4000},
    {"larger than any picture", 1024, 64, 0, 16, 16, kMax, kMax},
    {"no target", 1024, 64, 0, 16, 16, 0, 0},
    {"no source", 1024, 0, 0, 0, 0, 16, 16},
};

class HostileOverlays : public testing::Test {
 protected:
  std::vector<Packet> stream = makePackets(8, 96, 64, 2);
  SessionDriver driver{{.rungs = {{48, 32}}}, OnFailure::kGoOn};

  void SetUp() override {
    ASSERT_TRUE(driver.isOpen());
    driver.keepPictures(true);
    expected = driver.feed(stream[0], 0, 1).decoded;
    driver.session().getVideoDecoderBuffers().getVideoFrameBuffer(0)->allocBuffer(96, 64, fourcc("YV12"));
  }

  /// A grey picture of the decoder's pool after its overlays.
  std::vector<uint8_t> pictureWithOverlays() {
    auto& frames = driver.session().getVideoDecoderBuffers();
    auto& frame = *frames.getVideoFrameBuffer(0);
    constexpr size_t kBytes = 96 * 64 * 3 / 2;
    std::memset(frame.getPlane(0), kGrey, kBytes);
    frames.applyOverlays(frame, frames.getOverlayFrames());
    return {frame.getPlane(0), frame.getPlane(0) + kBytes};
  }

  static constexpr uint8_t kGrey = 100;
  DecodedPicture expected;  ///< without overlays
};

/// An overlay that cannot be drawn leaves the picture alone, and the sound one before it is drawn.
TEST_F(HostileOverlays, AreNotDrawnAndHurtNothing) {
  constexpr OverlayShape kSound{"sound", 16 * 16 * 4, 64, 0, 16, 16, 16, 16, 8, 8};
  auto& session = driver.session();
  for (const auto& shape : kHostile) {
    SCOPED_TRACE(shape.what);
    session.videoDecoderBufferSetOverlayVideoFrame(1, makeOverlay(shape));
    const auto before = pictureWithOverlays();
    EXPECT_EQ(before, std::vector<uint8_t>(before.size(), kGrey));
    session.videoDecoderBufferSetOverlayVideoFrame(0, makeOverlay(kSound));
    const auto after = pictureWithOverlays();
    EXPECT_NE(after[12 * 96 + 12], kGrey) << "the sound overlay is missing";
    EXPECT_EQ(after[30 * 96 + 60], kGrey);
    session.videoDecoderBufferSetOverlayVideoFrame(0, nullptr);
  }
  session.videoDecoderBufferSetOverlayVideoFrame(1, nullptr);
  // Nobody holds the overlay lock: a set that names no picture frees what it is given.
  EXPECT_NE(session.videoEncoderBufferSetOverlayVideoFrame(99, 0, makeOverlay(kHostile[0])), 0u);
  const auto result = driver.feed(stream[0], 80, 1);
  EXPECT_FALSE(result.failed);
  EXPECT_TRUE(result.decoded == expected);
}

}  // namespace
}  // namespace qvs::test

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <vector>

#include "log/LogCollector.h"
#include "Pictures.h"

namespace qvs::test {
namespace {

/// A picture in green, and what is drawn on it.
struct OverlaidPicture {
  explicit OverlaidPicture(uint32_t code = kFourCCYV12, uint32_t width = 128, uint32_t height = 64)
      : pool(width, height, code) {
    pool.frame().setLogger(&log);
    paint(pool.frame(), kGreen);
  }
  uint32_t draw(VideoOverlayFrame* overlay, int32_t x, int32_t y, uint32_t width, uint32_t height,
                uint32_t align = 17) {
    overlay->setDestinationLocation(x, y, width, height, align);
    pool.set.getOverlayFrames().putFrame(0, overlay);
    return pool.frame().applyOverlay(pool.set.getOverlayFrames());
  }
  size_t linesLogged() {
    std::vector<LogStatement> lines;
    log.getLogStatements(lines);
    return lines.size();
  }

  LogCollector log;
  OneFramePool pool;
};

TEST(Overlay, IsDrawnInItsColorAtItsPlaceOnEveryFormat) {
  for (uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCYV16, kFourCCNV12}) {
    SCOPED_TRACE(code);
    OverlaidPicture drawn(code);
    ASSERT_EQ(drawn.draw(makeOverlay(32, 16, kOpaqueRed, 12), 16, 8, 32, 16), kSuccess);
    const VideoFrameBuffer& frame = drawn.pool.frame();
    EXPECT_TRUE(isColor(frame, kRed, 16, 8, 48, 24));
    EXPECT_TRUE(isColor(frame, kGreen, 0, 0, 128, 8));
    EXPECT_TRUE(isColor(frame, kGreen, 0, 24, 128, 64));
    EXPECT_TRUE(isColor(frame, kGreen, 0, 8, 16, 24));
    EXPECT_TRUE(isColor(frame, kGreen, 48, 8, 128, 24));
  }
}

TEST(Overlay, IsScaledToItsDestination) {
  OverlaidPicture drawn;
  ASSERT_EQ(drawn.draw(makeOverlay(100, 30, kOpaqueBlue), 0, 0, 40, 20, kAlignCenter | kAlignMiddle),
            kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kBlue, 44, 22, 84, 42));
  EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen, 0, 0, 44, 64));
  EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen, 84, 0, 128, 64));
}

TEST(Overlay, RightAndBottomOffsetsAreInsets) {
  OverlaidPicture drawn;
  ASSERT_EQ(drawn.draw(makeOverlay(20, 10, kOpaqueRed), 10, 6, 20, 10, kAlignRight | kAlignBottom), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kRed, 98, 48, 118, 58));
  EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen, 118, 0, 128, 64));
}

TEST(Overlay, IsClippedAtTheEdgeAndSkippedWhenLargerThanThePicture) {
  OverlaidPicture drawn;
  ASSERT_EQ(drawn.draw(makeOverlay(32, 16, kOpaqueRed), -20, -8, 32, 16), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kRed, 0, 0, 12, 8));
  EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen, 12, 0, 128, 64));
  ASSERT_EQ(drawn.draw(makeOverlay(32, 16, kOpaqueBlue), 0, 0, 130, 16), kSuccess);
  ASSERT_EQ(drawn.draw(makeOverlay(32, 16, kOpaqueBlue), 0, 0, 0, 16), kSuccess);
  ASSERT_EQ(drawn.draw(makeOverlay(32, 16, kOpaqueBlue), INT32_MAX, INT32_MIN, 32, 16, 4 + 64), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen, 12, 0, 128, 64));
}

TEST(Overlay, ClearPixelsShowThePicture) {
  OverlaidPicture drawn;
  ASSERT_EQ(drawn.draw(makeOverlay(64, 32, kClearRed), 0, 0, 64, 32), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen));
}

/// The kept, converted image must never outlive the pixels, the size or the target format it was made for.
TEST(Overlay, FollowsANewImageSizeAndFormat) {
  OverlaidPicture drawn;
  VideoOverlayFrame* overlay = makeOverlay(32, 16, kOpaqueRed);
  ASSERT_EQ(drawn.draw(overlay, 0, 0, 32, 16), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kRed, 0, 0, 32, 16));
  VideoOverlayFrames& overlays = drawn.pool.set.getOverlayFrames();

  auto* blue = static_cast<uint8_t*>(std::malloc(32 * 16 * 4));
  for (uint32_t i = 0; i < 32 * 16; ++i) std::memcpy(blue + i * 4, &kOpaqueBlue, 4);
  overlay->setFrame(kFourCCBGRA, blue, 32 * 16 * 4, 128, 0, 32, 16);
  EXPECT_EQ(overlay->getDstWidth(), 0u) << "a new image has no destination yet";
  overlay->setDestinationLocation(0, 0, 32, 16, 17);
  ASSERT_EQ(drawn.pool.frame().applyOverlay(overlays), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kBlue, 0, 0, 32, 16));

  overlay->setDestinationLocation(64, 0, 64, 64, 17);
  ASSERT_EQ(drawn.pool.frame().applyOverlay(overlays), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kBlue, 64, 0, 128, 64));

  OneFramePool pairs(128, 64, kFourCCNV12);
  paint(pairs.frame(), kGreen);
  ASSERT_EQ(pairs.frame().applyOverlay(overlays), kSuccess);
  EXPECT_TRUE(isColor(pairs.frame(), kBlue, 64, 0, 128, 64));
  EXPECT_TRUE(isColor(pairs.frame(), kGreen, 0, 0, 64, 64));
}

TEST(Overlay, SlotsAreDrawnInTheirOrder) {
  OverlaidPicture drawn;
  VideoOverlayFrames& overlays = drawn.pool.set.getOverlayFrames();
  for (uint32_t slot : {9u, 2u}) {
    VideoOverlayFrame* overlay = makeOverlay(32, 16, slot == 9 ? kOpaqueBlue : kOpaqueRed);
    overlay->setDestinationLocation(0, 0, 32, 16, 17);
    overlays.putFrame(slot, overlay);
  }
  EXPECT_EQ(overlays.getFrameCount(), 2u);
  ASSERT_EQ(drawn.pool.set.applyOverlays(drawn.pool.frame(), overlays), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kBlue, 0, 0, 32, 16));
  overlays.clearFrame(9);
  overlays.clearFrame(77);
  drawn.pool.frame().applyOverlay(overlays);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kRed, 0, 0, 32, 16));
  overlays.clearAllFrames();
  EXPECT_EQ(drawn.pool.frame().applyOverlay(overlays), kFailure);
  EXPECT_EQ(drawn.pool.set.applyOverlays(drawn.pool.frame(), overlays), kSuccess);
}

struct HostileImage {
  const char* what;
  uint32_t fourcc, bytes, stride, offset, width, height, result;
};
constexpr HostileImage kHostileImages[] = {
    {"one byte short", kFourCCBGRA, 32 * 16 * 4 - 1, 128, 0, 32, 16, 0},
    {"no bytes", kFourCCBGRA, 0, 128, 0, 32, 16, 0},
    {"offset past the end", kFourCCBGRA, 2048, 128, 0xFFFFFFF0, 32, 16, 0},
    {"stride less than a row", kFourCCBGRA, 2048, 64, 0, 32, 16, 0},
    {"stride that overflows", kFourCCBGRA, 2048, 0x80000000, 0, 32, 16, 0},
    {"rows that go back before the image", kFourCCBGRA, 32 * 16 * 8, 0u - 128, 0, 32, 16, 0},
    {"one row before the image", kFourCCBGRA, 32 * 16 * 8, 0u - 128, 14 * 128, 32, 16, 0},
    {"bottom-up past the end", kFourCCBGRA, 32 * 16 * 4 - 1, 0u - 128, 15 * 128, 32, 16, 0},
    {"bottom-up planes before the image", kFourCCYV12, 2048, 0u - 32, 15 * 32, 32, 16, 0},
    {"planes past the end", kFourCCYV12, 32 * 16, 32, 0, 32, 16, 0},
    {"odd planar size", kFourCCYV12, 2048, 31, 0, 31, 15, 1},
    {"no area", kFourCCBGRA, 2048, 128, 0, 0, 16, 1},
    {"width of 2 GiB", kFourCCBGRA, 2048, 128, 0, 0x20000000, 1, 1},
    {"unknown format", fourcc("none"), 2048, 128, 0, 32, 16, 1},
};

TEST(Overlay, ImagesThatTheirBytesDontCoverAreKeptAndNotDrawn) {
  for (const HostileImage& image : kHostileImages) {
    SCOPED_TRACE(image.what);
    OverlaidPicture drawn;
    auto* bytes = static_cast<uint8_t*>(std::malloc(image.bytes));
    std::memset(bytes, 0xFF, image.bytes);
    auto* overlay = new VideoOverlayFrame(image.fourcc, bytes, image.bytes, image.stride, image.offset,
                                          image.width, image.height);
    VideoOverlayFrame* sound = makeOverlay(16, 8, kOpaqueRed);
    sound->setDestinationLocation(64, 0, 16, 8, 17);
    drawn.pool.set.getOverlayFrames().putFrame(1, sound);
    EXPECT_EQ(drawn.draw(overlay, 0, 0, 32, 16), image.result);
    EXPECT_EQ(drawn.pool.frame().applyOverlay(drawn.pool.set.getOverlayFrames()), image.result);
    EXPECT_EQ(drawn.linesLogged(), image.result == 0 ? 1u : 0u) << "told once";
    EXPECT_TRUE(isColor(drawn.pool.frame(), kGreen, 0, 0, 64, 64));
    EXPECT_TRUE(isColor(drawn.pool.frame(), kRed, 64, 0, 80, 8)) << "the sound one beside it";
    overlay->convertFrameToVUYA();
    EXPECT_EQ(overlay->getBufferYUVA(), nullptr);

    // Another thread gets the lock: no return left it held.
    auto other =
        std::async(std::launch::async, [&] { return drawn.pool.set.getOverlayFrames().getFrameCount(); });
    ASSERT_EQ(other.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  }
}

TEST(Overlay, LastRowMayEndWithItsLastPixel) {
  OverlaidPicture drawn;
  const uint32_t stride = 200;
  const uint32_t bytes = stride * 15 + 32 * 4;
  auto* image = static_cast<uint8_t*>(std::malloc(8 + bytes));
  for (uint32_t row = 0; row < 16; ++row) {
    for (uint32_t x = 0; x < 32; ++x) std::memcpy(image + 8 + row * stride + x * 4, &kOpaqueRed, 4);
  }
  auto* overlay = new VideoOverlayFrame(kFourCCBGRA, image, 8 + bytes, stride, 8, 32, 16);
  ASSERT_EQ(drawn.draw(overlay, 0, 0, 32, 16), kSuccess);
  EXPECT_TRUE(isColor(drawn.pool.frame(), kRed, 0, 0, 32, 16));
}

TEST(Overlay, BottomUpImagesStandUpright) {
  for (const bool clear : {false, true}) {
    OverlaidPicture drawn;
    const uint32_t row = 32 * 4, bytes = row * 16;
    auto* image = static_cast<uint8_t*>(std::malloc(bytes));
    for (uint32_t i = 0; i < 32 * 16; ++i) {  // its first eight rows are the last in memory
      std::memcpy(image + i * 4, i < 32 * 8 ? &kOpaqueBlue : clear ? &kClearRed : &kOpaqueRed, 4);
    }
    auto* overlay = new VideoOverlayFrame(kFourCCBGRA, image, bytes, 0u - row, bytes - row, 32, 16);
    EXPECT_EQ(overlay->isTransparent(), clear);
    ASSERT_EQ(drawn.draw(overlay, 0, 0, 32, 16), kSuccess);
    EXPECT_TRUE(isColor(drawn.pool.frame(), clear ? kGreen : kRed, 0, 0, 32, 8));
    EXPECT_TRUE(isColor(drawn.pool.frame(), kBlue, 0, 8, 32, 16));
    EXPECT_EQ(drawn.linesLogged(), 0u);
  }
}

/// One thread draws while another takes the overlay away: either it is drawn or it isn't.
TEST(Overlay, MayBeClearedAtAnyTime) {
  OverlaidPicture drawn(kFourCCYV12, 32, 16);
  VideoOverlayFrames& overlays = drawn.pool.set.getOverlayFrames();
  std::atomic<bool> done{false};
  auto other = std::async(std::launch::async, [&] {
    while (!done) {
      VideoOverlayFrame* overlay = makeOverlay(4, 4, kOpaqueRed);
      overlay->setDestinationLocation(0, 0, 4, 4, 17);
      overlays.putFrame(0, overlay);
      overlays.clearFrame(0);
    }
  });
  uint32_t failures = 0;
  for (int i = 0; i < 5000; ++i) failures += drawn.pool.set.applyOverlays(drawn.pool.frame(), overlays) != 0;
  done = true;
  EXPECT_EQ(failures, 0u);
}

TEST(Overlay, OnlyAPixelThatIsNotOpaqueMakesItTransparent) {
  VideoOverlayFrames overlays;
  uint32_t width = 1, height = 1;
  VideoOverlayFrame* overlay = makeOverlay(8, 8, kOpaqueRed, 4);
  overlay->setDestinationLocation(0, 0, 60, 20, 17);
  overlays.putFrame(0, overlay);
  EXPECT_FALSE(overlays.isTransparent());
  overlays.maxTransparentFrameSize(&width, &height);
  EXPECT_EQ(width + height, 0u);
  for (uint32_t slot : {1u, 2u}) {
    VideoOverlayFrame* clear = makeOverlay(8, 8, 0xFEFF0000);
    clear->setDestinationLocation(0, 0, 10 * slot, 100 / slot, 17);
    overlays.putFrame(slot, clear);
  }
  EXPECT_TRUE(overlays.isTransparent());
  overlays.maxTransparentFrameSize(&width, &height);
  EXPECT_EQ(width, 20u);
  EXPECT_EQ(height, 100u);
}

TEST(Overlay, VuyaCopyHasTheColors) {
  const std::unique_ptr<VideoOverlayFrame> overlay(makeOverlay(6, 4, kOpaqueRed, 20));
  overlay->convertFrameToVUYA();
  const uint8_t* pixel = overlay->getBufferYUVA();
  ASSERT_NE(pixel, nullptr);
  pixel += (6 * 4 - 1) * 4;
  EXPECT_NEAR(pixel[0], kRed.v, 3);
  EXPECT_NEAR(pixel[1], kRed.u, 3);
  EXPECT_NEAR(pixel[2], kRed.y, 3);
  EXPECT_EQ(pixel[3], 255);
}

}  // namespace
}  // namespace qvs::test

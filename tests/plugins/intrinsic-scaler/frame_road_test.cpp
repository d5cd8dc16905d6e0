#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "frames/Pictures.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs::test {
namespace {

// Pictures and overlays of a stream, with the plug-in in its place.
class FrameRoad : public testing::Test {
 protected:
  void SetUp() override {
    auto* scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
    scaler->setNativePath(0, QVS_PLUGIN_DIR);
    scaler->initialize();
    ASSERT_TRUE(scaler->isAvailable());
  }

  // A disc whose edge is soft over many pixels, in one colour.
  static VideoOverlayFrame* softDisc(uint32_t size) {
    auto* bytes = static_cast<uint8_t*>(std::malloc(size_t{4} * size * size));
    for (uint32_t y = 0; y < size; ++y) {
      for (uint32_t x = 0; x < size; ++x) {
        const double radius = std::hypot(x - size / 2.0, y - size / 2.0);
        const double alpha = std::clamp(255 * (size / 2.0 - radius) / (size / 4.0), 0.0, 255.0);
        const uint32_t pixel = static_cast<uint32_t>(alpha) << 24 | 0xFF8000;
        memcpy(bytes + 4 * (size_t{y} * size + x), &pixel, 4);
      }
    }
    return new VideoOverlayFrame(fourcc("BGRA"), bytes, 4 * size * size, 4 * size, 0, size, size);
  }

  static void draw(OneFramePool& pool, VideoOverlayFrame* overlay, int32_t x, int32_t y,
                   uint32_t align = 17) {
    paint(pool.frame(), kGreen);
    overlay->setDestinationLocation(x, y, overlay->getWidth(), overlay->getHeight(), align);
    pool.set.getOverlayFrames().putFrame(0, overlay);
    ASSERT_EQ(pool.frame().applyOverlay(pool.set.getOverlayFrames()), kSuccess);
  }

  static int greatestDifference(OneFramePool& first, OneFramePool& second) {
    const Samples a(first.frame()), b(second.frame());
    int greatest = 0;
    for (uint32_t y = 0; y < first.frame().getHeight(); ++y) {
      for (uint32_t x = 0; x < first.frame().getWidth(); ++x) {
        const Yuv one = a.at(x, y), two = b.at(x, y);
        greatest = std::max({greatest, abs(one.y - two.y), abs(one.u - two.u), abs(one.v - two.v)});
      }
    }
    return greatest;
  }
};

TEST_F(FrameRoad, OverlaysLookAsTheConverterDrawsThem) {
  for (const uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCNV12}) {
    OneFramePool plugin(320, 180, code, kScaleFlagPluginOverlays), converter(320, 180, code);
    draw(plugin, softDisc(100), 40, 30);
    draw(converter, softDisc(100), 40, 30);
    EXPECT_LE(greatestDifference(plugin, converter), 2) << code;
    EXPECT_FALSE(isColour(plugin.frame(), kGreen)) << "something was drawn";

    // An odd place is not the plug-in's.
    draw(plugin, softDisc(100), 41, 31);
    draw(converter, softDisc(100), 41, 31);
    EXPECT_EQ(greatestDifference(plugin, converter), 0) << code;
  }
}

// The plug-in takes the place as it is, where the converter turns an offset from the right edge into an
// inset.
TEST_F(FrameRoad, OverlaysAreDrawnWhereTheAlignmentPutsThem) {
  OneFramePool plugin(320, 180, kFourCCYV12, kScaleFlagPluginOverlays), converter(320, 180, kFourCCYV12);
  draw(plugin, makeOverlay(40, 20, kOpaqueRed), 10, 0, 4 | 16);
  draw(converter, makeOverlay(40, 20, kOpaqueRed), 10, 0, 4 | 16);
  EXPECT_TRUE(isColour(plugin.frame(), kRed, 290, 0, 320, 20));
  EXPECT_TRUE(isColour(plugin.frame(), kGreen, 0, 0, 290, 180));
  EXPECT_TRUE(isColour(converter.frame(), kRed, 270, 0, 310, 20));

  draw(plugin, makeOverlay(40, 20, kOpaqueRed), -20, -10);
  EXPECT_TRUE(isColour(plugin.frame(), kRed, 0, 0, 20, 10));
  EXPECT_TRUE(isColour(plugin.frame(), kGreen, 20, 0, 320, 180));
}

TEST_F(FrameRoad, HalvedCopiesGoDownToAboveTheSmallestRendition) {
  struct Case {
    uint32_t width, height, smallestWidth, smallestHeight, levels;
  };
  for (const Case& c :
       {Case{1280, 720, 320, 180, 1}, Case{1280, 720, 318, 178, 2}, Case{1000, 750, 320, 180, 0},
        Case{1280, 720, 640, 180, 0}, Case{1281, 721, 320, 180, 1}, Case{1024, 1024, 0, 0, 4}}) {
    OneFramePool pool(c.width, c.height, kFourCCYV12, kScaleFlagFractionalFrames);
    paint(pool.frame(), kRed);
    pool.frame().updateFractionalFrames(c.smallestWidth, c.smallestHeight);
    frame_tt level{};
    for (uint32_t i = 0; i < 4; ++i) {
      SCOPED_TRACE(testing::Message() << c.width << 'x' << c.height << " level " << i);
      ASSERT_EQ(pool.frame().getFractionalFrame(i, &level), i < c.levels);
      if (i >= c.levels) continue;
      EXPECT_EQ(level.width, c.width >> (i + 1));
      EXPECT_EQ(level.height, c.height >> (i + 1));
      const uint32_t x = level.width / 4, y = level.height / 4;
      EXPECT_EQ(level.plane[0][2 * y * level.stride[0] + 2 * x], kRed.y);
      EXPECT_EQ(level.plane[1][y * level.stride[1] + x], kRed.v);
      EXPECT_EQ(level.plane[2][y * level.stride[2] + x], kRed.u);
    }
  }

  OneFramePool without(1280, 720, kFourCCYV12), other(1280, 720, kFourCCI420, kScaleFlagFractionalFrames);
  frame_tt level{};
  for (OneFramePool* pool : {&without, &other}) {
    pool->frame().updateFractionalFrames(320, 180);
    EXPECT_FALSE(pool->frame().getFractionalFrame(0, &level));
  }
}

}  // namespace
}  // namespace qvs::test

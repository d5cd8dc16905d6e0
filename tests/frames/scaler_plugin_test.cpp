// Frames with the scaler plug-in at hand.

#include <gtest/gtest.h>

#include "Pictures.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs::test {
namespace {

class WithPlugin : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    auto* scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
    scaler->setNativePath(0, QVS_PLUGIN_DIR);
    scaler->initialize();
    ASSERT_TRUE(scaler->isAvailable());
  }

  static uint32_t levelsOf(VideoFrameBuffer& frame) {
    uint32_t levels = 0;
    for (frame_tt level; frame.getFractionalFrame(levels, &level);) ++levels;
    return levels;
  }
};

TEST_F(WithPlugin, HalvesDownToJustAboveTheSmallestTarget) {
  const struct {
    uint32_t width, height, targetWidth, targetHeight, levels;
  } rows[] = {{1280, 720, 320, 180, 1}, {1280, 720, 319, 179, 2}, {1000, 750, 100, 100, 0},
              {640, 512, 0, 0, 4},      {64, 64, 64, 64, 0},      {8, 8, 0, 0, 2},
              {645, 512, 0, 0, 0},      {640, 513, 0, 0, 0}};  // odd: the record can't tell where chroma lies
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.width << "x" << row.height);
    OneFramePool pool(row.width, row.height, kFourCCYV12, kScaleFlagFractionalFrames);
    paint(pool.frame(), kRed);
    pool.frame().updateFractionalFrames(row.targetWidth, row.targetHeight);
    ASSERT_EQ(levelsOf(pool.frame()), row.levels);
    for (uint32_t i = 0; i < row.levels; ++i) {
      frame_tt level;
      pool.frame().getFractionalFrame(i, &level);
      EXPECT_EQ(level.width, row.width >> (i + 1));
      EXPECT_EQ(level.stride[1], static_cast<int32_t>(level.width / 2));
      EXPECT_NEAR(level.plane[0][level.width * level.height - 1], kRed.y, 1);
      EXPECT_NEAR(level.plane[1][level.width * level.height / 4 - 1], kRed.v, 1);
      EXPECT_NEAR(level.plane[2][level.width * level.height / 4 - 1], kRed.u, 1);
    }
  }
}

TEST_F(WithPlugin, LevelsOfAnEarlierPictureAreNotHandedOut) {
  OneFramePool pool(640, 512, kFourCCYV12, kScaleFlagFractionalFrames);
  pool.frame().updateFractionalFrames(0, 0);
  pool.frame().updateFractionalFrames(200, 200);
  EXPECT_EQ(levelsOf(pool.frame()), 1u);
  pool.set.setScaleFlags(0);
  pool.frame().updateFractionalFrames(0, 0);
  EXPECT_EQ(levelsOf(pool.frame()), 0u);
}

/// Both roads have to agree on place and colour, whichever of them an overlay takes.
TEST_F(WithPlugin, OverlaysLookTheSameOnBothRoads) {
  const struct {
    uint32_t width, height, code;
    int32_t x, y;
    bool suits;  ///< the plug-in
  } rows[] = {{32, 16, kFourCCYV12, 16, 8, true},
              {32, 16, kFourCCI420, -8, -4, true},
              {32, 16, kFourCCNV12, 16, 8, true},
              {31, 15, kFourCCYV12, 16, 8, false},
              {32, 16, kFourCCYV12, 17, 9, false}};
  for (const auto& row : rows) {
    OneFramePool byPlugin(128, 64, row.code, kScaleFlagPluginOverlays);
    OneFramePool byConverter(128, 64, row.code);
    for (OneFramePool* pool : {&byPlugin, &byConverter}) {
      paint(pool->frame(), kGreen);
      VideoOverlayFrame* overlay = makeOverlay(row.width, row.height, kOpaqueRed, 24);
      overlay->setDestinationLocation(row.x, row.y, row.width, row.height, 17);
      pool->set.getOverlayFrames().putFrame(0, overlay);
      ASSERT_EQ(pool->frame().applyOverlay(pool->set.getOverlayFrames()), kSuccess);
      EXPECT_EQ(overlay->getBufferYUVA() != nullptr, row.suits && pool == &byPlugin);
    }
    for (uint32_t y = 0; y < 64; ++y) {
      for (uint32_t x = 0; x < 128; ++x) {
        const Yuv wanted = Samples(byConverter.frame()).at(x, y);
        ASSERT_TRUE(isColour(byPlugin.frame(), wanted, x, y, x + 1, y + 1)) << row.width << " " << row.code;
      }
    }
  }
}

}  // namespace
}  // namespace qvs::test

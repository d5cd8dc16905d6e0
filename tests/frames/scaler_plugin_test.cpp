// Frames with the scaler plug-in at hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

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

  static void draw(OneFramePool& pool, VideoOverlayFrame* overlay, int32_t x, int32_t y, uint32_t align) {
    paint(pool.frame(), kGreen);
    overlay->setDestinationLocation(x, y, overlay->getWidth(), overlay->getHeight(), align);
    pool.set.getOverlayFrames().putFrame(0, overlay);
    ASSERT_EQ(pool.frame().applyOverlay(pool.set.getOverlayFrames()), kSuccess);
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
  OneFramePool other(640, 512, kFourCCI420, kScaleFlagFractionalFrames);
  other.frame().updateFractionalFrames(0, 0);
  EXPECT_EQ(levelsOf(other.frame()), 0u);
}

/// Smooth shading, edges at several angles and fine texture that halving must keep or suppress without
/// aliasing.
double scene(double x, double y) {
  const double shade = 128 + 50 * std::sin(x / 37) * std::cos(y / 29);
  const double edge = std::sin(x / 9 + y / 13) > 0.3 ? 30 : -10;
  return std::clamp(shade + edge + 25 * std::cos((x * x + y * y) / 1200), 0.0, 255.0);
}

/// Halves the rows' count of a matrix by a three-lobed Lanczos window in double precision, and transposes it: two
/// calls halve both ways.
std::vector<double> lanczosHalfTransposed(const std::vector<double>& source, int width, int height) {
  const auto window = [](double x) {
    const double pix = std::numbers::pi * x;
    return 3 * std::sin(pix) * std::sin(pix / 3) / (pix * pix);
  };
  std::vector<double> target(source.size() / 2);
  for (int row = 0; row < height / 2; ++row) {
    for (int column = 0; column < width; ++column) {
      double sum = 0, weights = 0;
      for (int tap = -5; tap <= 6; ++tap) {
        const double weight = window((tap - 0.5) / 2);
        sum += weight * source[std::clamp(2 * row + tap, 0, height - 1) * width + column];
        weights += weight;
      }
      target[column * (height / 2) + row] = sum / weights;
    }
  }
  return target;
}

TEST_F(WithPlugin, HalvesCloseToAnIdealFilterInEveryPlane) {
  OneFramePool pool(640, 364, kFourCCYV12, kScaleFlagFractionalFrames);
  std::vector<double> wanted[3];
  for (uint32_t plane = 0; plane < 3; ++plane) {
    const int width = plane ? 320 : 640, height = plane ? 182 : 364;
    std::vector<double> samples;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        uint8_t& sample = pool.frame().getPlane(plane)[y * pool.frame().getStride(plane) + x];
        sample = static_cast<uint8_t>(scene(x + 250.0 * plane, y));
        samples.push_back(sample);
      }
    }
    wanted[plane] = lanczosHalfTransposed(lanczosHalfTransposed(samples, width, height), height / 2, width);
  }
  pool.frame().updateFractionalFrames(200, 100);
  frame_tt level;
  ASSERT_TRUE(pool.frame().getFractionalFrame(0, &level));
  for (uint32_t plane = 0; plane < 3; ++plane) {
    const size_t width = plane ? 160 : 320;
    double error = 0;
    for (size_t i = 0; i < wanted[plane].size(); ++i) {
      const uint8_t got =
          level.plane[plane][i / width * static_cast<size_t>(level.stride[plane]) + i % width];
      error += std::pow(std::clamp(wanted[plane][i], 0.0, 255.0) - got, 2);
    }
    EXPECT_GT(10 * std::log10(255.0 * 255.0 * static_cast<double>(wanted[plane].size()) / error), 50)
        << plane;
  }
}

/// Its edge is soft over many pixels, its rows have something behind them.
VideoOverlayFrame* softDisc(uint32_t width, uint32_t height) {
  const uint32_t stride = 4 * width + 24;
  auto* bytes = static_cast<uint8_t*>(std::malloc(size_t{stride} * height));
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const double radius = std::hypot(2.0 * x / width - 1, 2.0 * y / height - 1);
      const double alpha = std::clamp(2 * 255 * (1 - radius), 0.0, 255.0);
      const uint32_t pixel = static_cast<uint32_t>(alpha) << 24 | 0xFF8000;
      std::memcpy(bytes + y * stride + 4 * x, &pixel, 4);
    }
  }
  return new VideoOverlayFrame(fourcc("BGRA"), bytes, stride * height, stride, 0, width, height);
}

/// Both ways have to agree on place and color, whichever of them an overlay takes.
TEST_F(WithPlugin, OverlaysLookAsTheConverterDrawsThem) {
  const struct {
    uint32_t width, height, code;
    int32_t x, y;
    bool suits;  ///< the plug-in
  } rows[] = {{64, 32, kFourCCYV12, 16, 8, true},
              {64, 32, kFourCCI420, -8, -4, true},
              {64, 32, kFourCCNV12, 16, 8, true},
              {63, 31, kFourCCYV12, 16, 8, false},
              {64, 32, kFourCCYV12, 17, 9, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.width << " on " << row.code);
    OneFramePool byPlugin(128, 64, row.code, kScaleFlagPluginOverlays);
    OneFramePool byConverter(128, 64, row.code);
    for (OneFramePool* pool : {&byPlugin, &byConverter}) {
      VideoOverlayFrame* overlay = softDisc(row.width, row.height);
      draw(*pool, overlay, row.x, row.y, 17);
      EXPECT_EQ(overlay->getBufferYUVA() != nullptr, row.suits && pool == &byPlugin);
    }
    EXPECT_FALSE(isColor(byPlugin.frame(), kGreen)) << "nothing was drawn";
    for (uint32_t y = 0; y < 64; ++y) {
      for (uint32_t x = 0; x < 128; ++x) {
        const Yuv wanted = Samples(byConverter.frame()).at(x, y);
        ASSERT_TRUE(isColor(byPlugin.frame(), wanted, x, y, x + 1, y + 1, row.suits ? 2 : 0));
      }
    }
  }
}

// The plug-in takes the place as it is, where the converter turns an offset from the right edge into an
// inset.
TEST_F(WithPlugin, OverlaysAreDrawnWhereTheAlignmentPutsThem) {
  OneFramePool plugin(320, 180, kFourCCYV12, kScaleFlagPluginOverlays), converter(320, 180, kFourCCYV12);
  draw(plugin, makeOverlay(40, 20, kOpaqueRed), 10, 0, 4 | 16);
  draw(converter, makeOverlay(40, 20, kOpaqueRed), 10, 0, 4 | 16);
  EXPECT_TRUE(isColor(plugin.frame(), kRed, 290, 0, 320, 20));
  EXPECT_TRUE(isColor(plugin.frame(), kGreen, 0, 0, 290, 180));
  EXPECT_TRUE(isColor(converter.frame(), kRed, 270, 0, 310, 20));

  draw(plugin, makeOverlay(40, 20, kOpaqueRed), -20, -10, 17);
  EXPECT_TRUE(isColor(plugin.frame(), kRed, 0, 0, 20, 10));
  EXPECT_TRUE(isColor(plugin.frame(), kGreen, 20, 0, 320, 180));
}

}  // namespace
}  // namespace qvs::test

// Overlays of type 2 against the blend's definition, on every kind of target, at every edge.
#include <gtest/gtest.h>

#include <cmath>

#include "TestPicture.h"

namespace qvs::test {
namespace {

struct Place {
  int32_t x, y;
};

// Inside at every parity, clipped on all four sides and at corners, larger than the picture, just outside,
// far outside.
constexpr Place kPlaces[] = {{10, 8},   {11, 9},  {7, 12},  {-9, 6},  {-10, -3},      {50, 10},
                             {51, -7},  {12, -5}, {12, 33}, {45, 35}, {-20, 5},       {-19, -13},
                             {64, 0},   {0, 40},  {63, 39}, {0, 0},   {INT32_MIN, 0}, {INT32_MAX, INT32_MAX},
                             {5, -1000}};

constexpr uint32_t kWidth = 64, kHeight = 40;
constexpr uint32_t kOverlayWidth = 20, kOverlayHeight = 14;

TestPicture makeOverlay(uint32_t format, uint32_t width = kOverlayWidth, uint32_t height = kOverlayHeight) {
  TestPicture overlay(testFormat(format), width, height);
  overlay.randomize(99);
  overlay.paint([](double x, double y) { return Rgb{0.9 - 0.5 * x, 0.2 + 0.6 * y, 0.3 + 0.4 * x * y}; });
  if (!overlay.format().alpha) return overlay;
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x)
      overlay.set(3, x, y, x < 3 ? 0 : y < 2 ? 255 : (x * 12 + y * 7) % 256);
  }
  return overlay;
}

class Painter {
 public:
  ~Painter() { UCC_Destroy(handle); }
  uint32_t inPlace(TestPicture& target, TestPicture& overlay, Place place, uint64_t contentId = 0) {
    return onto(target, target, overlay, place, contentId);
  }
  uint32_t onto(TestPicture& target, TestPicture& source, TestPicture& overlay, Place place,
                uint64_t contentId = 0, uint32_t width = kOverlayWidth, uint32_t height = kOverlayHeight) {
    ucc_overlay_config_t settings{2, &overlay.frame(), place.x, place.y, width, height, contentId};
    ucc_config_t config{};
    config.overlay = &settings;
    return UCC_Transform(handle, &target.frame(), &source.frame(), &config);
  }

 private:
  void* handle = UCC_Create(0);
};

// Sums over the luma pixels that one sample of a component covers: the definition of the blend, block by
// block.
struct Block {
  double alpha = 0;      // mean over the block, 0 to 1
  double color[3] = {};  // mean weighted by alpha
};

Block blockAt(const TestPicture& overlay, Place place, int64_t left, int64_t top, int columns, int rows) {
  Block block;
  double weight = 0;
  for (int64_t y = top; y < top + rows; ++y) {
    for (int64_t x = left; x < left + columns; ++x) {
      const int64_t u = x - place.x, v = y - place.y;
      if (u < 0 || v < 0 || u >= overlay.columns(0) || v >= overlay.rows(0)) continue;
      const double alpha =
          overlay.format().alpha ? overlay.get(3, static_cast<size_t>(u), static_cast<size_t>(v)) / 255.0 : 1;
      const Rgb rgb = overlay.rgbAt(static_cast<uint32_t>(u), static_cast<uint32_t>(v));
      weight += alpha;
      for (int c = 0; c < 3; ++c) block.color[c] += alpha * rgb[c];
    }
  }
  for (double& level : block.color) level /= weight > 0 ? weight : 1;
  block.alpha = weight / (columns * rows);
  return block;
}

double component(const Rgb& rgb, int index, bool isRgb) {
  if (isRgb) return rgb[index];
  const double luma = 0.2126 * rgb[0] + 0.7152 * rgb[1] + 0.0722 * rgb[2];
  if (index == 0) return luma;
  return index == 1 ? (rgb[2] - luma) / 1.8556 + 128 / 255.0 : (rgb[0] - luma) / 1.5748 + 128 / 255.0;
}

// Every sample of `after` is the blend of `before`'s, and equal to it where the overlay isn't.
void expectBlend(const TestPicture& after, const TestPicture& before, const TestPicture& overlay,
                 Place place) {
  const TestFormat& format = after.format();
  for (int c = 0; c < 3; ++c) {
    const int stepX = after.columns(c) == kWidth ? 1 : 1 << format.shiftX;
    const int stepY = after.rows(c) == kHeight ? 1 : 1 << format.shiftY;
    const double max = after.max(c);
    const double tolerance = (max > 255 ? 2.6 / 255 : 1.6 / max) + (format.id == UCC_FORMAT_R555 ? 0.03 : 0);
    for (uint32_t y = 0; y < after.rows(c); ++y) {
      for (uint32_t x = 0; x < after.columns(c); ++x) {
        const Block block = blockAt(overlay, place, x * stepX, y * stepY, stepX, stepY);
        if (block.alpha == 0) {
          ASSERT_EQ(after.get(c, x, y), before.get(c, x, y)) << c << " at " << x << "," << y;
          continue;
        }
        const double over = component({block.color[0], block.color[1], block.color[2]}, c, format.rgb);
        const double wanted = block.alpha * over + (1 - block.alpha) * before.get(c, x, y) / max;
        ASSERT_NEAR(after.get(c, x, y) / max, wanted, tolerance) << c << " at " << x << "," << y;
      }
    }
  }
}

TEST(Overlay, BlendsInPlaceOnEveryFormatAtEveryEdge) {
  TestPicture overlay = makeOverlay(UCC_FORMAT_BGRA);
  for (const TestFormat& format : testFormats()) {
    Painter painter;
    for (const Place place : kPlaces) {
      SCOPED_TRACE(std::string(format.name) + " at " + std::to_string(place.x) + "," +
                   std::to_string(place.y));
      TestPicture target(format, kWidth, kHeight), before(format, kWidth, kHeight);
      target.randomize(4);
      before.randomize(4);
      ASSERT_EQ(painter.inPlace(target, overlay, place), 0u);
      ASSERT_TRUE(target.paddingIntact());
      expectBlend(target, before, overlay, place);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(Overlay, OtherOverlayFormatsAndSeparateTarget) {
  for (const uint32_t id :
       {UCC_FORMAT_VUYA, UCC_FORMAT_AYUV, UCC_FORMAT_ARGB, UCC_FORMAT_BGR3, UCC_FORMAT_I420}) {
    SCOPED_TRACE(testFormat(id).name);
    TestPicture overlay = makeOverlay(id);
    TestPicture source(testFormat(UCC_FORMAT_I420), kWidth, kHeight);
    TestPicture target(testFormat(UCC_FORMAT_I420), kWidth, kHeight),
        inPlace(testFormat(UCC_FORMAT_I420), kWidth, kHeight);
    source.paint(smoothScene);
    inPlace.paint(smoothScene);
    const std::vector<uint8_t> before = source.bytes();
    Painter painter;
    ASSERT_EQ(painter.onto(target, source, overlay, {8, 6}), 0u);
    EXPECT_EQ(source.bytes(), before);
    if (id != UCC_FORMAT_I420) expectBlend(target, source, overlay, {8, 6});
    ASSERT_EQ(painter.inPlace(inPlace, overlay, {8, 6}), 0u);
    EXPECT_EQ(inPlace.bytes(), target.bytes());
    EXPECT_NE(target.bytes(), before);
  }
}

TEST(Overlay, ScalesToTheSizeAsked) {
  TestPicture overlay = makeOverlay(UCC_FORMAT_BGRA, 60, 45);
  overlay.paint([](double, double) { return Rgb{0.9, 0.1, 0.3}; });
  TestPicture flat(testFormat(UCC_FORMAT_BGRA), kOverlayWidth, kOverlayHeight);
  flat.paint([](double, double) { return Rgb{0.9, 0.1, 0.3}; });
  TestPicture target(testFormat(UCC_FORMAT_I420), kWidth, kHeight),
      before(testFormat(UCC_FORMAT_I420), kWidth, kHeight);
  target.paint(smoothScene);
  before.paint(smoothScene);
  Painter painter;
  ASSERT_EQ(painter.inPlace(target, overlay, {20, 10}), 0u);
  expectBlend(target, before, flat, {20, 10});
}

TEST(Overlay, ContentNumberKeepsTheConvertedCopy) {
  const TestFormat& format = testFormat(UCC_FORMAT_I420);
  const auto draw = [&format](Painter& painter, TestPicture& overlay, uint64_t id, Place place) {
    TestPicture target(format, kWidth, kHeight);
    target.randomize(4);
    EXPECT_EQ(painter.inPlace(target, overlay, place, id), 0u);
    return target.bytes();
  };
  TestPicture one = makeOverlay(UCC_FORMAT_BGRA);
  TestPicture other(testFormat(UCC_FORMAT_BGRA), kOverlayWidth, kOverlayHeight);
  other.paint([](double, double) { return Rgb{0.1, 0.9, 0.8}; });
  Painter lasting, fresh, untold;
  const auto first = draw(lasting, one, 7, {4, 4});
  EXPECT_EQ(first, draw(fresh, one, 0, {4, 4}));
  EXPECT_EQ(draw(lasting, other, 7, {4, 4}), first) << "the number promises equal pixels";
  const auto second = draw(lasting, other, 8, {4, 4});
  EXPECT_EQ(second, draw(fresh, other, 0, {4, 4}));
  EXPECT_NE(second, first);
  EXPECT_EQ(draw(lasting, other, 8, {5, 7}), draw(fresh, other, 0, {5, 7}))
      << "another phase of the chroma grid";
  draw(untold, one, 0, {4, 4});
  EXPECT_EQ(draw(untold, other, 0, {4, 4}), second) << "0 reads the pixels afresh";
}

TEST(Overlay, LastingInstanceFollowsChangingShapes) {
  Painter lasting;
  TestPicture overlay = makeOverlay(UCC_FORMAT_BGRA), small = makeOverlay(UCC_FORMAT_VUYA, 9, 7);
  for (const uint32_t id : {UCC_FORMAT_I420, UCC_FORMAT_P010, UCC_FORMAT_YUY2, UCC_FORMAT_I420}) {
    for (const auto& [width, height] : {std::pair{20u, 14u}, {33u, 9u}, {50u, 45u}, {7u, 14u}, {20u, 14u}}) {
      for (TestPicture* image : {&overlay, &small}) {
        TestPicture target(testFormat(id), kWidth, kHeight), wanted(testFormat(id), kWidth, kHeight);
        target.randomize(3);
        wanted.randomize(3);
        Painter fresh;
        ASSERT_EQ(lasting.onto(target, target, *image, {5, 3}, 1, width, height), 0u);
        ASSERT_EQ(fresh.onto(wanted, wanted, *image, {5, 3}, 1, width, height), 0u);
        EXPECT_EQ(target.bytes(), wanted.bytes());
      }
    }
  }
}

TEST(Overlay, TransparentPicturesGainAlpha) {
  TestPicture target(testFormat(UCC_FORMAT_BGRA), 4, 1), overlay(testFormat(UCC_FORMAT_BGRA), 4, 1);
  target.randomize(1);
  overlay.randomize(2);
  const uint32_t under[] = {0, 255, 100, 0}, over[] = {128, 128, 100, 0}, wanted[] = {128, 255, 161, 0};
  for (uint32_t x = 0; x < 4; ++x) {
    target.set(3, x, 0, under[x]);
    overlay.set(3, x, 0, over[x]);
  }
  Painter painter;
  ASSERT_EQ(painter.onto(target, target, overlay, {0, 0}, 0, 4, 1), 0u);
  for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(target.get(3, x, 0), wanted[x]);
}

}  // namespace
}  // namespace qvs::test

// Any format into any other: exact where only the packing changes, right colors everywhere else.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "TestPicture.h"

namespace qvs::test {
namespace {

constexpr uint32_t k709 = MATRIX_COEFFICIENTS_BT709_6;
constexpr uint32_t k601 = MATRIX_COEFFICIENTS_BT601_6;
constexpr uint32_t kFull = PIC_SIGNAL_RANGE_FULL;
constexpr uint32_t kShort = PIC_SIGNAL_RANGE_SHORT;

class Instance {
 public:
  ~Instance() { UCC_Destroy(handle); }
  uint32_t operator()(TestPicture& target, TestPicture& source, uint32_t orientation = 0,
                      uint32_t deinterlacing = 0) {
    ucc_config_t config{};
    config.orientation = orientation;
    config.deinterlacing_method_idc = deinterlacing;
    return UCC_Transform(handle, &target.frame(), &source.frame(), &config);
  }

 private:
  void* handle = UCC_Create(0);
};

bool sameSamples(const TestFormat& a, const TestFormat& b) {
  const int deep = a.field(0, 0).bits;
  return a.rgb == b.rgb && a.shiftX == b.shiftX && a.shiftY == b.shiftY && deep == b.field(0, 0).bits &&
         a.field(1, 0).bits == b.field(1, 0).bits;
}

void expectEqualSamples(const TestPicture& a, const TestPicture& b) {
  for (int c = 0; c < (a.format().alpha && b.format().alpha ? 4 : 3); ++c) {
    for (uint32_t y = 0; y < a.rows(c); ++y) {
      for (uint32_t x = 0; x < a.columns(c); ++x) {
        if (!a.isStored(c, x) || !b.isStored(c, x)) continue;
        ASSERT_EQ(a.get(c, x, y), b.get(c, x, y)) << "component " << c << " at " << x << "," << y;
      }
    }
  }
}

TEST(Conversion, RepackingIsExactAtAnySize) {
  Instance convert;
  int pairs = 0;
  for (const TestFormat& from : testFormats()) {
    for (const TestFormat& to : testFormats()) {
      if (!sameSamples(from, to)) continue;
      ++pairs;
      for (const auto& [width, height] :
           {std::pair{64, 6}, {37, 5}, {1, 1}, {2, 3}, {3, 2}, {13, 1}, {386, 2}}) {
        SCOPED_TRACE(std::string(from.name) + " to " + to.name + " " + std::to_string(width));
        TestPicture source(from, width, height);
        TestPicture target(to, width, height, 3);
        source.randomize(width * 31 + height);
        ASSERT_EQ(convert(target, source), 0u);
        expectEqualSamples(target, source);
        ASSERT_TRUE(target.paddingIntact());
        for (uint32_t x = 0; to.alpha && !from.alpha && x < target.columns(0); ++x)
          ASSERT_EQ(target.get(3, x, 0), 255u);
      }
    }
  }
  EXPECT_EQ(pairs, 57);
}

// The second field changes from picture to picture: what comes out is the first one's color all over, with chroma that
// was never mixed.
TEST(Conversion, InterlacedPicturesBecomeTheirFirstField) {
  for (const char* name : {"v210", "UYVY", "r210", "AYUV", "I420"}) {
    for (const bool bottomFirst : {false, true}) {
      SCOPED_TRACE(std::string(name) + (bottomFirst ? " bottom" : " top"));
      Instance convert;
      const auto& all = testFormats();
      const TestFormat& format =
          *std::find_if(all.begin(), all.end(), [&](auto& one) { return one.name == std::string(name); });
      TestPicture source(format, 96, 64), target(testFormat(UCC_FORMAT_I420), 48, 32);
      source.frame().progressive_frame_flag = 0;
      source.frame().bottom_field_first_flag = bottomFirst ? 1 : 0;
      for (int picture = 0; picture < 3; ++picture) {
        source.paint([&](double, double y) {
          const bool first = (static_cast<int>(y * 64) % 2 == 1) == bottomFirst;
          return first ? Rgb{0.8, 0.3, 0.2} : Rgb{0.4 * picture, 0.9 - 0.4 * picture, 0.1 + 0.4 * picture};
        });
        ASSERT_EQ(convert(target, source, 0, UCC_DEINTERLACING_INTERFIELD_INTERPOLATION), 0u);
      }
      // In 4:2:0 chroma had been mixed before; elsewhere it comes out as it was.
      if (name != std::string("I420")) {
        EXPECT_GE(target.psnrAgainst([](double, double) { return Rgb{0.8, 0.3, 0.2}; }), 33);
      }
      for (uint32_t y = 0; y < 32; ++y) ASSERT_NEAR(target.get(0, 20, y), target.get(0, 20, 0), 6);
    }
  }
}

struct Colors {
  uint32_t targetMatrix, targetRange, sourceMatrix, sourceRange;
};

// Decibels; five bits a component, or one chroma column in four, leave no more.
double boundFor(const TestFormat& to, const TestFormat& from) {
  const auto coarse = [](const TestFormat& format) { return format.field(0, 0).bits == 5; };
  return coarse(to) || coarse(from) ? 35 : to.shiftX == 2 ? 38 : 42;
}

TEST(Conversion, EveryPairKeepsColorsAtEqualSize) {
  Instance convert;
  for (const Colors& colors : {Colors{k709, kFull, k709, kFull}, Colors{k709, kShort, k601, kFull},
                               Colors{k601, kFull, k601, kShort}, Colors{k601, kShort, k709, kShort}}) {
    for (const TestFormat& from : testFormats()) {
      for (const TestFormat& to : testFormats()) {
        TestPicture source(from, 80, 64);
        TestPicture target(to, 80, 64);
        source.setColor(colors.sourceMatrix, from.rgb ? kFull : colors.sourceRange);
        target.setColor(colors.targetMatrix, to.rgb ? kFull : colors.targetRange);
        source.paint(smoothScene);
        ASSERT_EQ(convert(target, source), 0u);
        const double psnr = target.psnrAgainst(smoothScene);
        EXPECT_GE(psnr, boundFor(to, from))
            << from.name << " to " << to.name << " matrix " << colors.sourceMatrix;
      }
    }
  }
}

TEST(Conversion, ShortRangeRgb) {
  Instance convert;
  for (const uint32_t id :
       {UCC_FORMAT_BGRA, UCC_FORMAT_BGR3, UCC_FORMAT_I420, UCC_FORMAT_NV12, UCC_FORMAT_V210}) {
    for (const uint32_t rgb : {UCC_FORMAT_BGRA, UCC_FORMAT_BGR4}) {
      for (const uint32_t width : {80u, 60u}) {
        TestPicture shortRange(testFormat(rgb), 80, 64), other(testFormat(id), width, 64),
            back(testFormat(rgb), 80, 64);
        shortRange.setColor(k709, kShort);
        shortRange.paint(smoothScene);
        ASSERT_EQ(convert(other, shortRange), 0u);
        EXPECT_GE(other.psnrAgainst(smoothScene), 42) << testFormat(id).name;
        back.setColor(k709, kShort);
        ASSERT_EQ(convert(back, other), 0u);
        EXPECT_GE(back.psnrAgainst(smoothScene), 42) << testFormat(id).name;
      }
    }
  }
}

TEST(Conversion, EveryPairScales) {
  Instance convert;
  for (const auto& size : {std::pair{56, 90}, std::pair{120, 48}}) {
    for (const TestFormat& from : testFormats()) {
      for (const TestFormat& to : testFormats()) {
        TestPicture source(from, 80, 64);
        TestPicture target(to, size.first, size.second);
        source.paint(smoothScene);
        ASSERT_EQ(convert(target, source), 0u);
        EXPECT_GE(target.psnrAgainst(smoothScene), boundFor(to, from)) << from.name << " to " << to.name;
        EXPECT_TRUE(target.paddingIntact());
      }
    }
  }
}

// The scene as it is shown, by the definition: mirrored, then turned clockwise a quarter at a time.
Scene turned(Scene scene, uint32_t orientation) {
  if (orientation & UCC_ORIENTATION_MIRROR) {
    scene = [scene](double x, double y) { return scene(1 - x, y); };
  }
  const int quarters = static_cast<int>(orientation & 3);
  for (int i = 0; i < quarters; ++i) {
    scene = [scene](double x, double y) { return scene(y, 1 - x); };
  }
  return scene;
}

TEST(Conversion, EveryPairTurns) {
  Instance convert;
  uint32_t orientation = 0;
  for (const bool scaled : {false, true}) {
    for (const TestFormat& from : testFormats()) {
      for (const TestFormat& to : testFormats()) {
        orientation = orientation % 7 + 1;
        TestPicture source(from, 80, 64);
        const bool onSide = (orientation & UCC_ORIENTATION_TURN_90) != 0;
        TestPicture target(to, scaled ? 56 : onSide ? 64 : 80, scaled ? 92 : onSide ? 80 : 64);
        source.paint(smoothScene);
        ASSERT_EQ(convert(target, source, orientation), 0u);
        // On its side the scene is narrower, so one chroma column in four leaves less of it.
        const double bound = boundFor(to, from) - (to.shiftX == 2 && onSide ? 1 : 0);
        EXPECT_GE(target.psnrAgainst(turned(smoothScene, orientation)), bound)
            << from.name << " to " << to.name << " by " << orientation;
        EXPECT_TRUE(target.paddingIntact());
      }
    }
  }
}

// Odd and tiny sizes: rows end where the geometry says, and a flat grey stays flat grey.
TEST(Conversion, OddSizesStayInsideAndFlat) {
  Instance convert;
  std::mt19937 random(7);
  const auto pick = [&random](uint32_t count) { return static_cast<uint32_t>(1 + random() % count); };
  for (int round = 0; round < 6000; ++round) {
    const TestFormat& from = testFormats()[random() % testFormats().size()];
    const TestFormat& to = testFormats()[random() % testFormats().size()];
    const uint32_t width = pick(20), height = pick(20);
    const bool scaled = random() % 2 != 0;
    const uint32_t orientation = (pick(8) - 1) * (pick(2) - 1);
    const bool onSide = (orientation & UCC_ORIENTATION_TURN_90) != 0;
    TestPicture source(from, width, height, random() % 4);
    TestPicture target(to, scaled || onSide ? (scaled ? pick(20) : height) : width,
                       scaled || onSide ? (scaled ? pick(20) : width) : height, random() % 4,
                       random() % 2 != 0);
    SCOPED_TRACE(std::string(from.name) + " " + std::to_string(width) + "x" + std::to_string(height) +
                 " to " + to.name + " " + std::to_string(target.columns(0)) + "x" +
                 std::to_string(target.rows(0)) + " by " + std::to_string(orientation));
    source.randomize(1);
    source.paint([](double, double) { return Rgb{0.5, 0.5, 0.5}; });
    ASSERT_EQ(convert(target, source, orientation), 0u);
    ASSERT_TRUE(target.paddingIntact());
    const double grey = from.field(0, 0).bits == 5 ? 16.0 / 31 : 0.5;
    for (uint32_t y = 0; y < target.rows(0); ++y) {
      for (uint32_t x = 0; x < target.columns(0); ++x) {
        if (!target.isStored(0, x)) continue;
        const Rgb rgb = target.rgbAt(x, y);
        for (double level : rgb) ASSERT_NEAR(level, grey, 0.035) << "at " << x << "," << y;
      }
    }
  }
}

TEST(Conversion, BottomUpPicturesTurnOver) {
  Instance convert;
  for (const uint32_t id : {UCC_FORMAT_BGR3, UCC_FORMAT_BGR4}) {
    for (const uint32_t other : {UCC_FORMAT_BGRA, UCC_FORMAT_I420, UCC_FORMAT_NV12, UCC_FORMAT_YUY2}) {
      TestPicture source(testFormat(other), 64, 48);
      TestPicture middle(testFormat(id), 64, 48, 0, true);
      TestPicture back(testFormat(other), 64, 48);
      source.paint(smoothScene);
      ASSERT_EQ(convert(middle, source), 0u);
      EXPECT_GE(middle.psnrAgainst(smoothScene), 34);
      ASSERT_EQ(convert(back, middle), 0u);
      EXPECT_GE(back.psnrAgainst(smoothScene), 34);
    }
  }
}

// A target inside a larger picture, as a letterbox has it: nothing around it changes.
TEST(Conversion, WritesOnlyItsRectangle) {
  Instance convert;
  for (const TestFormat& from :
       {testFormat(UCC_FORMAT_I420), testFormat(UCC_FORMAT_BGRA), testFormat(UCC_FORMAT_NV12)}) {
    for (const uint32_t sourceWidth : {90u, 40u}) {
      TestPicture source(from, sourceWidth, 30);
      source.paint(smoothScene);
      TestPicture whole(testFormat(UCC_FORMAT_I420), 100, 50);
      whole.randomize(3);
      TestPicture before(testFormat(UCC_FORMAT_I420), 100, 50);
      before.randomize(3);
      ucc_frame_t inside = whole.frame();
      inside.width = 90;
      inside.height = 30;
      for (int p = 0; p < 3; ++p) inside.plane[p] += (p ? 5 : 10) * inside.stride[p] + (p ? 2 : 4);
      void* instance = UCC_Create(0);
      ASSERT_EQ(UCC_Transform(instance, &inside, &source.frame(), nullptr), 0u);
      UCC_Destroy(instance);
      EXPECT_TRUE(whole.paddingIntact());
      const Scene shifted = [](double x, double y) {
        return smoothScene((x * 100 - 4) / 90, (y * 50 - 10) / 30);
      };
      double error = 0;
      for (uint32_t y = 0; y < 50; ++y) {
        for (uint32_t x = 0; x < 100; ++x) {
          if (x >= 4 && x < 94 && y >= 10 && y < 40) {
            const Rgb wanted = shifted((x + 0.5) / 100, (y + 0.5) / 50), got = whole.rgbAt(x, y);
            for (int c = 0; c < 3; ++c) error = std::max(error, std::fabs(wanted[c] - got[c]));
          } else {
            for (int c = 0; c < 3; ++c) {
              ASSERT_EQ(whole.get(c, c ? x / 2 : x, c ? y / 2 : y),
                        before.get(c, c ? x / 2 : x, c ? y / 2 : y));
            }
          }
        }
      }
      EXPECT_LT(error, 0.12);
    }
  }
}

double cubic(double x) {
  x = std::fabs(x);
  if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
  return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
}

// One output sample of the bicubic definition, widened by the ratio where it shrinks.
double scaledAt(const TestPicture& picture, int component, double x, double y, double ratioX, double ratioY) {
  const double wideX = std::max(1.0, ratioX), wideY = std::max(1.0, ratioY);
  const int64_t columns = picture.columns(component), rows = picture.rows(component);
  double sum = 0, weights = 0;
  for (int v = static_cast<int>(std::floor(y - 2 * wideY)); v <= y + 2 * wideY; ++v) {
    for (int u = static_cast<int>(std::floor(x - 2 * wideX)); u <= x + 2 * wideX; ++u) {
      const double weight = cubic((u + 0.5 - x) / wideX) * cubic((v + 0.5 - y) / wideY);
      weights += weight;
      sum += weight * picture.get(component, static_cast<size_t>(std::clamp<int64_t>(u, 0, columns - 1)),
                                  static_cast<size_t>(std::clamp<int64_t>(v, 0, rows - 1)));
    }
  }
  return sum / weights;
}

TEST(Conversion, PlanarScalingIsBicubic) {
  Instance convert;
  for (const uint32_t id : {UCC_FORMAT_I420, UCC_FORMAT_I422, UCC_FORMAT_NV12, UCC_FORMAT_NV21}) {
    for (const auto& size : {std::pair{80, 54}, std::pair{60, 40}, std::pair{200, 150}, std::pair{51, 77}}) {
      TestPicture source(testFormat(id), 120, 80);
      TestPicture target(testFormat(id), size.first, size.second);
      source.randomize(11);
      ASSERT_EQ(convert(target, source), 0u);
      double error = 0;
      double count = 0;
      for (int c = 0; c < 3; ++c) {
        const double ratioX = double(source.columns(c)) / target.columns(c);
        const double ratioY = double(source.rows(c)) / target.rows(c);
        for (uint32_t y = 4; y + 4 < target.rows(c); ++y) {
          for (uint32_t x = 4; x + 4 < target.columns(c); ++x, ++count) {
            const double exact = scaledAt(source, c, (x + 0.5) * ratioX, (y + 0.5) * ratioY, ratioX, ratioY);
            const double difference = std::clamp(exact, 0.0, 255.0) - target.get(c, x, y);
            error += difference * difference;
          }
        }
      }
      // Noise over the whole range, the worst for scalers that clip between their passes; a shift of half a
      // sample gives 26.
      EXPECT_GE(10 * std::log10(255 * 255 * count / error), 41) << testFormat(id).name << " " << size.first;
    }
  }
}

TEST(Conversion, StraightAlphaScalesWithoutBleedingAndUnusedAlphaKeepsColors) {
  Instance convert;
  for (const uint32_t id : {UCC_FORMAT_BGRA, UCC_FORMAT_ARGB}) {
    TestPicture source(testFormat(id), 64, 64);
    TestPicture target(testFormat(id), 45, 40);
    for (uint32_t y = 0; y < 64; ++y) {
      for (uint32_t x = 0; x < 64; ++x) {
        const bool inside = x >= 16 && x < 48;
        for (int c = 0; c < 3; ++c) source.set(c, x, y, inside ? 200 : 0);
        source.set(3, x, y, inside ? 255 : 0);
      }
    }
    ASSERT_EQ(convert(target, source), 0u);
    bool halfSeen = false;
    for (uint32_t x = 0; x < 45; ++x) {
      const uint32_t alpha = target.get(3, x, 20);
      halfSeen = halfSeen || (alpha > 20 && alpha < 235);
      if (alpha > 20) {
        EXPECT_NEAR(target.get(0, x, 20), 200, 12) << x;
      }
    }
    EXPECT_TRUE(halfSeen);

    source.paint(smoothScene);
    for (uint32_t y = 0; y < 64; ++y) {
      for (uint32_t x = 0; x < 64; ++x) source.set(3, x, y, 0);
    }
    ASSERT_EQ(convert(target, source), 0u);
    EXPECT_GE(target.psnrAgainst(smoothScene), 38);
    EXPECT_EQ(target.get(3, 5, 5), 0u);
  }
}

// One instance through changing formats and sizes gives what a new one gives.
TEST(Conversion, InstanceFollowsChanges) {
  Instance lasting;
  std::mt19937 random(5);
  const auto pick = [&random](uint32_t first, uint32_t count) {
    return first + static_cast<uint32_t>(random() % count);
  };
  for (int round = 0; round < 300; ++round) {
    const TestFormat& from = testFormats()[random() % testFormats().size()];
    const TestFormat& to = testFormats()[random() % testFormats().size()];
    TestPicture source(from, pick(24, 3), pick(16, 2));
    TestPicture target(to, pick(24, 3), 16), fresh(to, target.columns(0), 16);
    source.setColor(random() % 2 ? k709 : k601, random() % 2 ? kFull : kShort);
    fresh.frame().colorimetry = target.frame().colorimetry;
    source.randomize(round);
    target.randomize(1);
    fresh.randomize(1);
    Instance once;
    const uint32_t orientation = pick(0, 8);
    ASSERT_EQ(lasting(target, source, orientation), 0u);
    ASSERT_EQ(once(fresh, source, orientation), 0u);
    ASSERT_EQ(target.bytes(), fresh.bytes()) << from.name << " to " << to.name;
  }
}

TEST(Conversion, UnsaidColorComesFromTheOtherPicture) {
  Instance convert;
  TestPicture yuv(testFormat(UCC_FORMAT_I420), 96, 80);
  TestPicture rgb(testFormat(UCC_FORMAT_BGRA), 96, 80);
  yuv.setColor(k601, kShort);
  yuv.paint(smoothScene);
  rgb.frame().colorimetry = {};
  ASSERT_EQ(convert(rgb, yuv), 0u);
  rgb.setColor(k709, kFull);
  EXPECT_GE(rgb.psnrAgainst(smoothScene), 36);

  yuv.frame().colorimetry = {};
  ASSERT_EQ(convert(yuv, rgb), 0u);
  yuv.setColor(k709, kFull);
  EXPECT_GE(yuv.psnrAgainst(smoothScene), 36);
}

}  // namespace
}  // namespace qvs::test

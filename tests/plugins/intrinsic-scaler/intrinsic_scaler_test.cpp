#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

#include "platform/Status.h"
#include "support/GuardedBytes.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {
namespace {

using test::GuardedBytes;

constexpr double kPi = 3.14159265358979323846;

uint32_t code(const char* name) {
  uint32_t value;
  memcpy(&value, name, 4);
  return value;
}

// A 4:2:0 picture that ends at a page nobody may touch; chroma is addressed by what it is.
class Picture {
 public:
  Picture(const char* fourcc, uint32_t width, uint32_t height, uint32_t slack = 0)
      : record{code(fourcc), nullptr, width + slack, width, height},
        bytes(size_t{record.stride} * height + (pairs() ? record.stride * (height / 2) : 2 * chromaSize())) {
    record.plane = bytes.data();
    std::mt19937 random(3);
    std::generate_n(bytes.data(), bytes.size(), [&] { return static_cast<uint8_t>(random()); });
  }

  uint8_t& luma(uint32_t x, uint32_t y) { return bytes.data()[size_t{y} * record.stride + x]; }
  uint8_t& u(uint32_t x, uint32_t y) { return pairs() ? pair(x, y)[0] : chroma(vFirst() ? 1 : 0, x, y); }
  uint8_t& v(uint32_t x, uint32_t y) { return pairs() ? pair(x, y)[1] : chroma(vFirst() ? 0 : 1, x, y); }
  std::vector<uint8_t> contents() const { return {bytes.data(), bytes.data() + bytes.size()}; }

  VideoFrameIntrinsicScalerFrame record;

 private:
  bool pairs() const { return record.fourcc == code("NV12"); }
  bool vFirst() const { return record.fourcc == code("YV12"); }
  size_t chromaSize() const { return size_t{record.stride / 2} * (record.height / 2); }
  uint8_t* chromaStart() { return bytes.data() + size_t{record.stride} * record.height; }
  uint8_t* pair(uint32_t x, uint32_t y) { return chromaStart() + size_t{y} * record.stride + 2 * x; }
  uint8_t& chroma(size_t plane, uint32_t x, uint32_t y) {
    return chromaStart()[plane * chromaSize() + size_t{y} * (record.stride / 2) + x];
  }

  GuardedBytes bytes;
};

struct Pixel {
  uint8_t v, u, y, a;
};

class Overlay {
 public:
  Overlay(uint32_t width, uint32_t height, uint32_t slack = 0)
      : record{code("VUYA"), nullptr, 4 * width + slack, width, height},
        bytes(size_t{record.stride} * (height - 1) + 4 * width) {
    record.plane = bytes.data();
    std::mt19937 random(5);
    std::generate_n(bytes.data(), bytes.size(), [&] { return static_cast<uint8_t>(random()); });
  }

  // A pixel; outside the overlay a clear one.
  Pixel at(int64_t x, int64_t y) const {
    Pixel pixel{};
    if (x >= 0 && y >= 0 && x < record.width && y < record.height) {
      memcpy(&pixel, bytes.data() + y * record.stride + 4 * x, sizeof pixel);
    }
    return pixel;
  }

  VideoFrameIntrinsicScalerFrame record;

 private:
  GuardedBytes bytes;
};

class IntrinsicScaler : public testing::Test {
 protected:
  void SetUp() override {
    scaler->setNativePath(0, QVS_PLUGIN_DIR);
    ASSERT_EQ(scaler->initialize(), kSuccess);
    ASSERT_TRUE(scaler->isAvailable());
    ASSERT_EQ(scaler->create(&session), kSuccess);
    ASSERT_NE(session, nullptr);
  }
  void TearDown() override { EXPECT_EQ(scaler->destroy(session), kSuccess); }

  VideoFrameIntrinsicScalerSingleton* const scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
  void* session = nullptr;
};

// A moving-picture-like test scene: smooth shading, edges at several angles and fine texture that halving
// must keep or suppress without aliasing.
double scene(double x, double y) {
  const double shade = 128 + 50 * std::sin(x / 37) * std::cos(y / 29);
  const double edge = std::sin(x / 9 + y / 13) > 0.3 ? 30 : -10;
  const double zone = 25 * std::cos((x * x + y * y) / 1200);
  return std::clamp(shade + edge + zone, 0.0, 255.0);
}

double lanczos(double x) {
  if (std::abs(x) < 1e-9) return 1;
  return std::abs(x) >= 3 ? 0 : 3 * std::sin(kPi * x) * std::sin(kPi * x / 3) / (kPi * kPi * x * x);
}

using Matrix = std::vector<double>;

// Halves the rows' count of a matrix with `width` columns by a three-lobed Lanczos window in double
// precision, and transposes it: two calls halve both ways.
Matrix lanczosHalfTransposed(const Matrix& source, int width, int height) {
  Matrix target(source.size() / 2);
  for (int row = 0; row < height / 2; ++row) {
    for (int column = 0; column < width; ++column) {
      double sum = 0, weights = 0;
      for (int tap = -5; tap <= 6; ++tap) {
        const double weight = lanczos((tap - 0.5) / 2);
        sum += weight * source[std::clamp(2 * row + tap, 0, height - 1) * width + column];
        weights += weight;
      }
      target[column * (height / 2) + row] = sum / weights;
    }
  }
  return target;
}

double psnr(const Matrix& wanted, const std::function<uint8_t(int)>& got) {
  double error = 0;
  for (size_t i = 0; i < wanted.size(); ++i) {
    const double difference = std::clamp(wanted[i], 0.0, 255.0) - got(static_cast<int>(i));
    error += difference * difference;
  }
  return 10 * std::log10(255 * 255 * static_cast<double>(wanted.size()) / error);
}

TEST_F(IntrinsicScaler, HalvesCloseToAnIdealFilterInEveryPlane) {
  constexpr int kWidth = 640, kHeight = 364;
  using Accessor = uint8_t& (Picture::*)(uint32_t, uint32_t);
  struct PlaneOf {
    const char* name;
    Accessor sample;
    int width, height;
    double offset;
  };
  const PlaneOf planes[] = {{"Y", &Picture::luma, kWidth, kHeight, 0},
                            {"U", &Picture::u, kWidth / 2, kHeight / 2, 250},
                            {"V", &Picture::v, kWidth / 2, kHeight / 2, 500}};
  for (const char* fourcc : {"YV12", "I420", "IYUV"}) {
    Picture source(fourcc, kWidth, kHeight, 12);
    Picture target(fourcc, kWidth / 2, kHeight / 2, 6);
    std::vector<Matrix> wanted;
    for (const PlaneOf& plane : planes) {
      Matrix samples;
      for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
          uint8_t& sample = (source.*plane.sample)(x, y);
          sample = static_cast<uint8_t>(scene(x + plane.offset, y));
          samples.push_back(sample);
        }
      }
      wanted.push_back(lanczosHalfTransposed(lanczosHalfTransposed(samples, plane.width, plane.height),
                                             plane.height / 2, plane.width));
    }
    ASSERT_EQ(scaler->scaleByHalf(session, &source.record, &target.record), kSuccess);
    for (size_t i = 0; i < wanted.size(); ++i) {
      const int width = planes[i].width / 2;
      const double quality =
          psnr(wanted[i], [&](int at) { return (target.*planes[i].sample)(at % width, at / width); });

      EXPECT_GT(quality, 50) << fourcc << ' ' << planes[i].name;
    }
  }
}

TEST_F(IntrinsicScaler, HalvesDownToTheSmallestSizes) {
  for (const uint32_t width : {4u, 5u, 8u, 36u, 37u, 100u, 101u}) {
    for (const uint32_t height : {4u, 12u, 13u}) {
      Picture source("YV12", width, height), target("YV12", width / 2, height / 2);
      std::fill_n(static_cast<uint8_t*>(source.record.plane), source.contents().size(), 200);
      ASSERT_EQ(scaler->scaleByHalf(session, &source.record, &target.record), kSuccess);
      const auto bytes = target.contents();
      EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 200), std::ssize(bytes)) << width << 'x' << height;
    }
  }
}

TEST_F(IntrinsicScaler, RefusesPicturesThatAreNotHalves) {
  Picture source("YV12", 64, 32), target("YV12", 32, 16);
  const auto before = target.contents();
  const auto refused = [&](auto change) {
    VideoFrameIntrinsicScalerFrame from = source.record, to = target.record;
    change(from, to);
    return scaler->scaleByHalf(session, &from, &to) != kSuccess && target.contents() == before;
  };
  EXPECT_TRUE(refused([](auto& from, auto&) { from.width = 63; }));
  EXPECT_TRUE(refused([](auto& from, auto&) { from.height = 34; }));
  EXPECT_TRUE(refused([](auto& from, auto& to) { from.width = 62, to.width = 31; }));
  EXPECT_TRUE(refused([](auto& from, auto& to) { from.height = 30, to.height = 15; }));
  EXPECT_TRUE(refused([](auto&, auto& to) { to.height = 14; }));
  EXPECT_TRUE(refused([](auto& from, auto& to) { from.width = from.height = to.width = to.height = 0; }));
  EXPECT_TRUE(refused([](auto& from, auto&) { from.stride = 62; }));
  EXPECT_TRUE(refused([](auto&, auto& to) { to.stride = 30; }));
  EXPECT_TRUE(refused([](auto& from, auto&) { from.plane = nullptr; }));
  EXPECT_TRUE(refused([](auto&, auto& to) { to.plane = nullptr; }));
  EXPECT_TRUE(refused([](auto&, auto& to) { to.fourcc = code("I420"); }));
  EXPECT_TRUE(refused([](auto& from, auto& to) { from.fourcc = to.fourcc = code("NV12"); }));
  EXPECT_TRUE(refused([](auto& from, auto& to) { from.fourcc = to.fourcc = code("YV16"); }));
  EXPECT_NE(scaler->scaleByHalf(nullptr, &source.record, &target.record), kSuccess);
  EXPECT_NE(scaler->scaleByHalf(session, nullptr, &target.record), kSuccess);
}

int nearest(int sum, int divisor) {
  return (2 * sum + divisor) / (2 * divisor);
}

// The blend as defined, on `picture`, which has not been drawn on yet.
void blendReference(Picture& picture, const Overlay& overlay, int64_t left, int64_t top) {
  for (uint32_t y = 0; y < picture.record.height; ++y) {
    for (uint32_t x = 0; x < picture.record.width; ++x) {
      const Pixel pixel = overlay.at(x - left, y - top);
      uint8_t& luma = picture.luma(x, y);
      luma = static_cast<uint8_t>(nearest(pixel.a * pixel.y + (255 - pixel.a) * luma, 255));
    }
  }
  for (uint32_t y = 0; y < picture.record.height / 2; ++y) {
    for (uint32_t x = 0; x < picture.record.width / 2; ++x) {
      int u = 0, v = 0, alphas = 0;
      for (int i = 0; i < 4; ++i) {
        const Pixel pixel = overlay.at(2 * x + i % 2 - left, 2 * y + i / 2 - top);
        u += pixel.a * pixel.u, v += pixel.a * pixel.v, alphas += pixel.a;
      }
      picture.u(x, y) = static_cast<uint8_t>(nearest(u + (1020 - alphas) * picture.u(x, y), 1020));
      picture.v(x, y) = static_cast<uint8_t>(nearest(v + (1020 - alphas) * picture.v(x, y), 1020));
    }
  }
}

TEST_F(IntrinsicScaler, BlendsExactlyWhereverTheOverlayLies) {
  struct Place {
    uint32_t width, height;  // of the overlay
    int32_t x, y;
    uint32_t targetWidth, targetHeight;
  };
  const Place places[] = {
      {40, 20, 10, 6, 128, 64},       // inside
      {41, 21, 10, 6, 128, 64},       // odd sizes: the last chroma samples are covered in part
      {90, 30, -22, -10, 128, 64},    // over the left top corner
      {90, 30, 100, 50, 128, 64},     // over the right bottom corner
      {200, 100, -20, -20, 128, 64},  // larger than the picture
      {64, 8, 60, 40, 99, 45},        // on a picture of odd size, over its edges
      {1, 1, 98, 44, 99, 45},         // on the last odd pixel, which has no chroma
      {30, 30, 128, 0, 128, 64},      // just beyond the right
      {30, 30, -30, 0, 128, 64},      // just beyond the left
      {30, 30, INT32_MIN, INT32_MIN, 128, 64},
      {30, 30, INT32_MAX - 1, INT32_MAX - 1, 128, 64},
  };
  for (const char* fourcc : {"YV12", "I420", "IYUV", "NV12"}) {
    for (const Place& place : places) {
      SCOPED_TRACE(testing::Message() << fourcc << ' ' << place.width << 'x' << place.height << " at "
                                      << place.x << ", " << place.y);
      const Overlay overlay(place.width, place.height, 8);
      Picture drawn(fourcc, place.targetWidth, place.targetHeight, 3);
      Picture wanted(fourcc, place.targetWidth, place.targetHeight, 3);
      blendReference(wanted, overlay, place.x, place.y);
      ASSERT_EQ(scaler->overlayFrame(session, 1, static_cast<uint32_t>(place.x),
                                     static_cast<uint32_t>(place.y), &overlay.record, &drawn.record),
                kSuccess);
      ASSERT_EQ(drawn.contents(), wanted.contents());
    }
  }
}

TEST_F(IntrinsicScaler, RefusesOverlaysThatItCannotDraw) {
  const Overlay overlay(16, 16);
  Picture picture("YV12", 64, 32);
  const auto before = picture.contents();
  const auto refused = [&](uint32_t mode, int x, int y, auto change) {
    VideoFrameIntrinsicScalerFrame what = overlay.record, where = picture.record;
    change(what, where);
    return scaler->overlayFrame(session, mode, static_cast<uint32_t>(x), static_cast<uint32_t>(y), &what,
                                &where) != kSuccess &&
           picture.contents() == before;
  };
  const auto as = [](auto&, auto&) {};
  EXPECT_TRUE(refused(1, 3, 0, as));
  EXPECT_TRUE(refused(1, 0, -3, as));
  EXPECT_TRUE(refused(0, 0, 0, as));
  EXPECT_TRUE(refused(2, 0, 0, as));
  EXPECT_TRUE(refused(1, 0, 0, [](auto& what, auto&) { what.fourcc = code("BGRA"); }));
  EXPECT_TRUE(refused(1, 0, 0, [](auto& what, auto&) { what.plane = nullptr; }));
  EXPECT_TRUE(refused(1, 0, 0, [](auto& what, auto&) { what.stride = 63; }));
  EXPECT_TRUE(refused(1, 0, 0, [](auto& what, auto&) { what.width = 0xFFFFFFFF; }));
  EXPECT_TRUE(refused(1, 0, 0, [](auto&, auto& where) { where.fourcc = code("YV16"); }));
  EXPECT_TRUE(refused(1, 0, 0, [](auto&, auto& where) { where.height = 0; }));
  EXPECT_TRUE(refused(1, 0, 0, [](auto&, auto& where) { where.stride = 63; }));
  EXPECT_NE(scaler->overlayFrame(session, 1, 0, 0, nullptr, &picture.record), kSuccess);
  EXPECT_NE(scaler->overlayFrame(nullptr, 1, 0, 0, &overlay.record, &picture.record), kSuccess);
}

}  // namespace
}  // namespace qvs

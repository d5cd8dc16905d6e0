#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "platform/Status.h"
#include "support/GuardedBytes.h"
#include "video/scaling/device/VideoFrameNV12Utils.h"

namespace qvs {
namespace {

using test::GuardedBytes;

uint32_t code(const char* name) {
  uint32_t value;
  memcpy(&value, name, 4);
  return value;
}

// A picture whose planes each end at a page that nobody may touch, so its last rows have no slack.
class Picture {
 public:
  Picture(const char* fourcc, uint32_t width, uint32_t height, int lumaStride, int firstStride,
          int secondStride = 0) {
    frame.four_cc = code(fourcc);
    frame.width = width;
    frame.height = height;
    const uint32_t chromaBytes = secondStride == 0 ? width / 2 * 2 : width / 2;
    addPlane(0, lumaStride, width, height);
    addPlane(1, firstStride, chromaBytes, height / 2);
    if (secondStride != 0) addPlane(2, secondStride, chromaBytes, height / 2);
  }

  void randomize(unsigned seed) {
    std::mt19937 random(seed);
    for (const auto& plane : planes) {
      std::generate_n(plane->data(), plane->size(), [&] { return static_cast<uint8_t>(random()); });
    }
  }

  uint8_t luma(uint32_t x, uint32_t y) const { return at(0, x, y); }
  uint8_t u(uint32_t x, uint32_t y) const {
    return planar() ? at(labelledUFirst() ? 1 : 2, x, y) : at(1, 2 * x, y);
  }
  uint8_t v(uint32_t x, uint32_t y) const {
    return planar() ? at(labelledUFirst() ? 2 : 1, x, y) : at(1, 2 * x + 1, y);
  }

  mc_frame_t frame{};

 private:
  void addPlane(int index, int stride, uint32_t rowBytes, uint32_t rows) {
    planes.push_back(std::make_unique<GuardedBytes>(rows == 0 ? 0 : stride * (rows - 1) + rowBytes));
    frame.plane[index] = planes.back()->data();
    frame.stride[index] = stride;
  }
  uint8_t at(int plane, uint32_t x, uint32_t y) const {
    return frame.plane[plane][y * frame.stride[plane] + x];
  }
  bool planar() const { return planes.size() == 3; }
  bool labelledUFirst() const { return frame.four_cc == code("I420"); }

  std::vector<std::unique_ptr<GuardedBytes>> planes;
};

// The part that both have is copied, everything else of `after` is as in `before`.
void expectCopied(const Picture& source, const Picture& before, const Picture& after) {
  const uint32_t columns = std::min(source.frame.width, after.frame.width);
  const uint32_t rows = std::min(source.frame.height, after.frame.height);
  for (uint32_t y = 0; y < rows; ++y) {
    for (uint32_t x = 0; x < columns; ++x) ASSERT_EQ(after.luma(x, y), source.luma(x, y)) << x << ", " << y;
  }
  for (uint32_t y = 0; y < after.frame.height / 2; ++y) {
    for (uint32_t x = 0; x < after.frame.width / 2; ++x) {
      const Picture& expected = x < columns / 2 && y < rows / 2 ? source : before;
      ASSERT_EQ(after.u(x, y), expected.u(x, y)) << "U at " << x << ", " << y;
      ASSERT_EQ(after.v(x, y), expected.v(x, y)) << "V at " << x << ", " << y;
    }
  }
}

struct Case {
  uint32_t planarWidth, planarHeight;
  int planarStride, firstChroma, secondChroma;
  uint32_t pairsWidth, pairsHeight;
  int pairsStride;
};

TEST(NV12Utils, CopiesTheCommonAreaBothWays) {
  const Case cases[] = {
      {64, 48, 64, 32, 32, 64, 48, 64},       // equal strides: one copy
      {178, 33, 192, 100, 90, 178, 33, 180},  // odd height, all strides differ
      {31, 7, 31, 15, 15, 31, 7, 32},         // odd both ways, below one block
      {2, 2, 16, 16, 1, 2, 2, 2},             // one chroma sample
      {260, 10, 272, 130, 144, 130, 6, 130},  // the other is smaller
      {66, 6, 66, 33, 33, 200, 20, 256},      // the other is larger
      {5, 1, 8, 4, 4, 5, 1, 8},               // no chroma row at all
  };
  for (const char* label : {"YV12", "I420"}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << label << ' ' << c.planarWidth << 'x' << c.planarHeight);
      const auto planar = [&](unsigned seed) {
        Picture picture(label, c.planarWidth, c.planarHeight, c.planarStride, c.firstChroma, c.secondChroma);
        picture.randomize(seed);
        return std::make_unique<Picture>(std::move(picture));
      };
      const auto pairs = [&](unsigned seed) {
        Picture picture("NV12", c.pairsWidth, c.pairsHeight, c.pairsStride, c.pairsStride);
        picture.randomize(seed);
        return std::make_unique<Picture>(std::move(picture));
      };
      const auto fromPlanar = planar(1), toPlanar = planar(4);
      const auto toPairs = pairs(2), fromPairs = pairs(3);
      EXPECT_EQ(VideoFrameNV12Utils::copyYV12toNV12(&fromPlanar->frame, &toPairs->frame), kSuccess);
      expectCopied(*fromPlanar, *pairs(2), *toPairs);
      EXPECT_EQ(VideoFrameNV12Utils::copyNV12toYV12(&fromPairs->frame, &toPlanar->frame), kSuccess);
      expectCopied(*fromPairs, *planar(4), *toPlanar);
    }
  }
}

TEST(NV12Utils, TakesRawPlanesIntoOneBlock) {
  const uint8_t y[] = {1, 2, 3, 4, 90, 5, 6, 7, 8};
  const uint8_t uv[] = {10, 20, 11, 21};
  uint8_t target[16] = {};
  ASSERT_EQ(VideoFrameNV12Utils::copyNV12toYV12(y, uv, 5, 4, 2, target, 4, 4, 2), kSuccess);
  const uint8_t expected[16] = {1, 2, 3, 4, 5, 6, 7, 8, 20, 21, 10, 11};
  EXPECT_EQ(memcmp(target, expected, sizeof expected), 0);
}

TEST(NV12Utils, RefusesWhatItCannotRead) {
  Picture planar("YV12", 16, 16, 16, 8, 8);
  Picture pairs("NV12", 16, 16, 16, 16);
  const auto bothFail = [&](mc_frame_t first, mc_frame_t second) {
    return VideoFrameNV12Utils::copyYV12toNV12(&first, &second) == kFailure &&
           VideoFrameNV12Utils::copyNV12toYV12(&second, &first) == kFailure;
  };
  for (int plane = 0; plane < 3; ++plane) {
    mc_frame_t missing = planar.frame, bottomUp = planar.frame;
    missing.plane[plane] = nullptr;
    bottomUp.stride[plane] = -8;
    EXPECT_TRUE(bothFail(missing, pairs.frame) && bothFail(bottomUp, pairs.frame)) << plane;
  }
  EXPECT_EQ(VideoFrameNV12Utils::copyYV12toNV12(&planar.frame, nullptr), kFailure);
  EXPECT_EQ(VideoFrameNV12Utils::copyNV12toYV12(nullptr, &planar.frame), kFailure);
  uint8_t bytes[8] = {};
  EXPECT_EQ(VideoFrameNV12Utils::copyNV12toYV12(bytes, bytes, 2, 2, 2, nullptr, 2, 2, 2), kFailure);
  EXPECT_EQ(VideoFrameNV12Utils::copyNV12toYV12(bytes, bytes, 2, 2, 2, bytes, 0, 2, 2), kFailure);
}

}  // namespace
}  // namespace qvs

#include "video/SampleRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "video/PictureWriter.h"

namespace qvs::mc {
namespace {

/// The stated rule in plain arithmetic.
uint8_t expected(const std::vector<uint16_t>& a, const std::vector<uint16_t>& b, size_t index, uint32_t depth,
                 bool halve, bool merge) {
  const auto weighted = [&](const std::vector<uint16_t>& row) -> double {
    if (!halve) return row[index];
    const auto at = [&](ptrdiff_t x) {
      return row[static_cast<size_t>(std::clamp<ptrdiff_t>(x, 0, static_cast<ptrdiff_t>(row.size()) - 1))];
    };
    const auto x = static_cast<ptrdiff_t>(2 * index);
    return (at(x - 1) + 2.0 * at(x) + at(x + 1)) / 4;
  };
  const double value = merge ? (weighted(a) + weighted(b)) / 2 : weighted(a);
  return static_cast<uint8_t>(std::min(std::floor(value / (1 << (depth - 8)) + 0.5), 255.0));
}

TEST(SampleRows, RoundOnceToTheNearestInEveryForm) {
  std::mt19937 random(7);
  for (const uint32_t depth : {8u, 9u, 10u, 12u, 14u}) {
    for (const bool halve : {false, true}) {
      for (const bool merge : {false, true}) {
        for (const size_t width : {1u, 2u, 3u, 16u, 33u, 200u}) {
          std::vector<uint16_t> a(width), b(width);
          for (auto* row : {&a, &b}) {
            for (uint16_t& sample : *row) sample = static_cast<uint16_t>(random() & ((1u << depth) - 1));
            row->back() = static_cast<uint16_t>((1u << depth) - 1);
          }
          const std::vector<uint8_t> a8(a.begin(), a.end()), b8(b.begin(), b.end());
          const bool wide = depth > 8;
          const SampleRows rows{wide ? reinterpret_cast<const uint8_t*>(a.data()) : a8.data(),
                                wide ? reinterpret_cast<const uint8_t*>(b.data()) : b8.data(), width};
          const size_t count = halve ? (width + 1) / 2 : width;
          std::vector<uint8_t> out(count + 1, 0xA5);
          rowKernel(depth, halve, merge)(rows, depth, out.data(), count);
          for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(out[i], expected(a, b, i, depth, halve, merge))
                << depth << (halve ? " halved" : "") << (merge ? " merged" : "") << " width " << width
                << " at " << i;
          EXPECT_EQ(out[count], 0xA5);
        }
      }
    }
  }
}

/// An RGB picture of noise and what of it should come out, in plain arithmetic.
struct RgbPicture {
  RgbPicture(AVPixelFormat format, uint32_t depthInBits, int widthIn, int heightIn, AVColorRange range)
      : depth(depthInBits), width(widthIn), height(heightIn), full(range == AVCOL_RANGE_JPEG) {
    std::mt19937 random(depth + static_cast<uint32_t>(height));
    for (auto& plane : planes) {
      plane.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
      for (uint16_t& sample : plane) sample = static_cast<uint16_t>(random() & ((1u << depth) - 1));
    }
    frame.format = format;
    frame.width = width;
    frame.height = height;
    frame.color_range = range;
    for (size_t i = 0; i < 3; ++i) {
      bytes[i].assign(planes[i].begin(), planes[i].end());
      frame.data[i] = depth > 8 ? reinterpret_cast<uint8_t*>(planes[i].data()) : bytes[i].data();
      frame.linesize[i] = depth > 8 ? 2 * width : width;
    }
  }

  double expected(int plane, int x, int y) const {
    const double red = height >= 720 ? 0.2126 : 0.299, blue = height >= 720 ? 0.0722 : 0.114;
    const double g = filtered(0, x, y, plane != 0), b = filtered(1, x, y, plane != 0),
                 r = filtered(2, x, y, plane != 0);
    const double luma = red * r + blue * b + (1 - red - blue) * g;
    const double difference = plane == 1 ? (b - luma) / (2 * (1 - blue)) : (r - luma) / (2 * (1 - red));
    return std::clamp(plane == 0 ? luma : 128 + difference * (full ? 1 : 224.0 / 219.0), 0.0, 255.0);
  }

  double filtered(size_t plane, int x, int y, bool chroma) const {
    const auto at = [&](int column, int row) {
      const int index = std::min(row, height - 1) * width + std::clamp(column, 0, width - 1);
      return planes[plane][static_cast<size_t>(index)] / static_cast<double>(1 << (depth - 8));
    };
    if (!chroma) return at(x, y);
    double sum = 0;
    for (const int row : {2 * y, 2 * y + 1})
      sum += at(2 * x - 1, row) + 2 * at(2 * x, row) + at(2 * x + 1, row);
    return sum / 8;
  }

  uint32_t depth;
  int width, height;
  bool full;
  std::vector<uint16_t> planes[3];  ///< G, B and R
  std::vector<uint8_t> bytes[3];
  AVFrame frame{};
};

TEST(PictureWriter, BringsRgbTo420InItsRange) {
  for (const auto& [format, depth] : {std::pair{AV_PIX_FMT_GBRP, 8u}, {AV_PIX_FMT_GBRP10LE, 10u}}) {
    for (const AVColorRange range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG}) {
      for (const auto& [width, height] : {std::pair{10, 6}, {7, 5}, {8, 720}}) {
        const RgbPicture picture(format, depth, width, height, range);
        const int strides[] = {width, (width + 1) / 2};
        std::vector<uint8_t> planes[3];
        mc_frame_t target{};
        target.four_cc = 'I' | '4' << 8 | '2' << 16 | '0' << 24;
        target.width = static_cast<uint32_t>(width);
        target.height = static_cast<uint32_t>(height);
        for (int plane = 0; plane < 3; ++plane) {
          target.stride[plane] = strides[plane != 0];
          planes[plane].resize(static_cast<size_t>(target.stride[plane] * height));
          target.plane[plane] = planes[plane].data();
        }
        PictureWriter writer;
        ASSERT_TRUE(writer.write(picture.frame, target));
        double worst = 0;
        for (int plane = 0; plane < 3; ++plane) {
          const int rows = plane != 0 ? height / 2 : height, columns = strides[plane != 0];
          for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < columns; ++x) {
              const uint8_t written = planes[plane][static_cast<size_t>(y * columns + x)];
              worst = std::max(worst, std::abs(written - picture.expected(plane, x, y)));
            }
          }
        }
        EXPECT_LE(worst, 0.51) << depth << " bits, " << width << "x" << height << ", range " << range;
      }
    }
  }
}

}  // namespace
}  // namespace qvs::mc

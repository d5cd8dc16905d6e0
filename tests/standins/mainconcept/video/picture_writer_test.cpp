#include "video/PictureWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace qvs::mc {
namespace {

struct Form {
  AVPixelFormat format;
  int depth;
  int shiftX, shiftY;  ///< of chroma
  bool rgb = false;
  AVColorRange range = AVCOL_RANGE_MPEG;
};

constexpr Form kForms[] = {{AV_PIX_FMT_YUV420P, 8, 1, 1},
                           {AV_PIX_FMT_YUV422P, 8, 1, 0},
                           {AV_PIX_FMT_YUV440P, 8, 0, 1},
                           {AV_PIX_FMT_YUV444P, 8, 0, 0},
                           {AV_PIX_FMT_YUV420P9LE, 9, 1, 1},
                           {AV_PIX_FMT_YUV420P10LE, 10, 1, 1},
                           {AV_PIX_FMT_YUV422P12LE, 12, 1, 0},
                           {AV_PIX_FMT_YUV444P14LE, 14, 0, 0},
                           {AV_PIX_FMT_GBRP, 8, 0, 0, true},
                           {AV_PIX_FMT_GBRP, 8, 0, 0, true, AVCOL_RANGE_JPEG},
                           {AV_PIX_FMT_GBRP10LE, 10, 0, 0, true, AVCOL_RANGE_JPEG}};

/// A picture of noise and what of it should come out, in plain arithmetic.
class NoisePicture {
 public:
  NoisePicture(const Form& pictureForm, int pictureWidth, int pictureHeight)
      : form(pictureForm), width(pictureWidth), height(pictureHeight) {
    std::mt19937 random(static_cast<uint32_t>(form.format + height));
    const uint32_t last = (1u << form.depth) - 1;
    for (size_t plane = 0; plane < 3; ++plane) {
      const bool chroma = plane != 0;
      planes[plane].resize(static_cast<size_t>(widthOf(chroma)) * static_cast<size_t>(heightOf(chroma)));
      for (uint16_t& sample : planes[plane]) sample = static_cast<uint16_t>(random() & last);
      planes[plane].back() = static_cast<uint16_t>(last);
      bytes[plane].assign(planes[plane].begin(), planes[plane].end());
      const bool wide = form.depth > 8;
      frame.data[plane] = wide ? reinterpret_cast<uint8_t*>(planes[plane].data()) : bytes[plane].data();
      frame.linesize[plane] = widthOf(chroma) * (wide ? 2 : 1);
    }
    frame.format = form.format;
    frame.width = width;
    frame.height = height;
    frame.color_range = form.range;
  }

  double expected(int plane, int x, int y) const {
    if (!form.rgb) return std::min(filtered(static_cast<size_t>(plane), x, y, plane != 0), 255.0);
    const double red = height >= 720 ? 0.2126 : 0.299, blue = height >= 720 ? 0.0722 : 0.114;
    const double g = filtered(0, x, y, plane != 0), b = filtered(1, x, y, plane != 0),
                 r = filtered(2, x, y, plane != 0);
    const double luma = red * r + blue * b + (1 - red - blue) * g;
    const double difference = plane == 1 ? (b - luma) / (2 * (1 - blue)) : (r - luma) / (2 * (1 - red));
    const double room = form.range == AVCOL_RANGE_JPEG ? 1 : 224.0 / 219.0;
    return std::clamp(plane == 0 ? luma : 128 + difference * room, 0.0, 255.0);
  }

  AVFrame frame{};

 private:
  int widthOf(bool chroma) const { return chroma ? (width + form.shiftX) >> form.shiftX : width; }
  int heightOf(bool chroma) const { return chroma ? (height + form.shiftY) >> form.shiftY : height; }

  double filtered(size_t plane, int x, int y, bool chroma) const {
    const auto at = [&](int column, int row) {
      const int columns = widthOf(plane != 0);
      const int index =
          std::min(row, heightOf(plane != 0) - 1) * columns + std::clamp(column, 0, columns - 1);
      return planes[plane][static_cast<size_t>(index)] / static_cast<double>(1 << (form.depth - 8));
    };
    const auto inRow = [&](int row) {
      if (!chroma || form.shiftX == 1) return at(x, row);
      return (at(2 * x - 1, row) + 2 * at(2 * x, row) + at(2 * x + 1, row)) / 4;
    };
    return chroma && form.shiftY == 0 ? (inRow(2 * y) + inRow(2 * y + 1)) / 2 : inRow(y);
  }

  Form form;
  int width, height;
  std::vector<uint16_t> planes[3];
  std::vector<uint8_t> bytes[3];
};

TEST(PictureWriter, RoundsOnceToTheNearestInEveryForm) {
  for (const Form& form : kForms) {
    for (const auto& [width, height] : {std::pair{66, 34}, {7, 5}, {1, 2}, {8, 720}}) {
      const NoisePicture picture(form, width, height);
      std::vector<uint8_t> planes[3];
      mc_frame_t target{};
      target.four_cc = 'I' | '4' << 8 | '2' << 16 | '0' << 24;
      target.width = static_cast<uint32_t>(width);
      target.height = static_cast<uint32_t>(height);
      for (int plane = 0; plane < 3; ++plane) {
        target.stride[plane] = plane != 0 ? (width + 1) / 2 : width;
        planes[plane].resize(static_cast<size_t>(target.stride[plane] * height));
        target.plane[plane] = planes[plane].data();
      }
      PictureWriter writer;
      ASSERT_TRUE(writer.write(picture.frame, target));
      double worst = 0;
      for (int plane = 0; plane < 3; ++plane) {
        for (int y = 0; y < (plane != 0 ? height / 2 : height); ++y) {
          for (int x = 0; x < target.stride[plane]; ++x) {
            const uint8_t written = planes[plane][static_cast<size_t>(y * target.stride[plane] + x)];
            worst = std::max(worst, std::abs(written - picture.expected(plane, x, y)));
          }
        }
      }
      EXPECT_LE(worst, form.rgb ? 0.51 : 0.5) << form.format << ", " << width << "x" << height;
    }
  }
}

}  // namespace
}  // namespace qvs::mc

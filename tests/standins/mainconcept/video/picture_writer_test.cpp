#include "video/PictureWriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "support/Expected420.h"

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

/// A picture of noise.
struct NoisePicture {
  NoisePicture(const Form& form, int width, int height) {
    std::mt19937 random(static_cast<uint32_t>(form.format + height));
    const uint32_t last = (1u << form.depth) - 1;
    const bool wide = form.depth > 8;
    for (size_t plane = 0; plane < 3; ++plane) {
      const int columns = plane != 0 ? (width + form.shiftX) >> form.shiftX : width;
      const int rows = plane != 0 ? (height + form.shiftY) >> form.shiftY : height;
      words[plane].resize(static_cast<size_t>(columns) * static_cast<size_t>(rows));
      for (uint16_t& sample : words[plane]) sample = static_cast<uint16_t>(random() & last);
      words[plane].back() = static_cast<uint16_t>(last);
      bytes[plane].assign(words[plane].begin(), words[plane].end());
      frame.data[plane] = wide ? reinterpret_cast<uint8_t*>(words[plane].data()) : bytes[plane].data();
      frame.linesize[plane] = columns * (wide ? 2 : 1);
      expected.planes[plane] = frame.data[plane];
      expected.strides[plane] = frame.linesize[plane];
    }
    frame.format = form.format;
    frame.width = expected.width = width;
    frame.height = expected.height = height;
    frame.color_range = form.range;
    expected.depth = static_cast<uint32_t>(form.depth);
    expected.wide = wide;
    expected.shiftX = form.shiftX;
    expected.shiftY = form.shiftY;
    expected.rgb = form.rgb;
    expected.fullRange = form.range == AVCOL_RANGE_JPEG;
  }

  AVFrame frame{};
  test::Expected420 expected{};
  std::vector<uint16_t> words[3];
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
            worst = std::max(worst, std::abs(written - picture.expected.at(plane, x, y)));
          }
        }
      }
      EXPECT_LE(worst, form.rgb ? 0.51 : 0.5) << form.format << ", " << width << "x" << height;
    }
  }
}

}  // namespace
}  // namespace qvs::mc

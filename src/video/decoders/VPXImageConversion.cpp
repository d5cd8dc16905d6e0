// libvpx images of other depths, chroma shapes and RGB, written into frames of 8-bit 4:2:0.
#include "video/decoders/VPXImageConversion.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "frames/geometry/ChromaOrder.h"
#include "frames/kernels/SampleRows.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs {

namespace {

constexpr uint32_t kRowsOfHd = 720;

constexpr int32_t fixedPoint(double value) {
  return static_cast<int32_t>(value * 65536 + (value < 0 ? -0.5 : 0.5));
}

/// Y, U and V of G, B and R, the order of the planes. Weights sum up exactly, so that grey stays grey.
constexpr std::array<SampleMix, 3> mixesOf(double red, double blue) {
  const int32_t lumaB = fixedPoint(blue);
  const int32_t lumaR = fixedPoint(red);
  const int32_t uOfR = fixedPoint(-red / (2 * (1 - blue)));
  const int32_t vOfB = fixedPoint(-blue / (2 * (1 - red)));
  return {{{{65536 - lumaB - lumaR, lumaB, lumaR}, 0},
           {{-32768 - uOfR, 32768, uOfR}, 128},
           {{-32768 - vOfB, vOfB, 32768}, 128}}};
}
constexpr std::array<SampleMix, 3> kBt709 = mixesOf(0.2126, 0.0722);
constexpr std::array<SampleMix, 3> kBt601 = mixesOf(0.299, 0.114);

/// Writes rows of one plane of the target.
class PlaneWriter {
 public:
  PlaneWriter(const vpx_image_t& picture, int targetPlane) : image(picture), plane(targetPlane) {
    const bool chroma = plane != VPX_PLANE_Y;
    form.wide = (image.fmt & VPX_IMG_FMT_HIGHBITDEPTH) != 0;
    form.depth = image.bit_depth;
    form.halveColumns = chroma && image.x_chroma_shift == 0;
    form.mergeRows = chroma && image.y_chroma_shift == 0;
    kernel = sampleKernel(form);
    mixing = mixKernel(form);
    if (image.cs != VPX_CS_SRGB) return;
    mix = &(image.d_h >= kRowsOfHd ? kBt709 : kBt601)[static_cast<size_t>(plane)];
  }

  void write(uint32_t row, uint8_t* to, size_t count) const {
    if (mix == nullptr) {
      kernel(rowsOf(plane, row), form.depth, to, count);
    } else {
      mixing({rowsOf(0, row), rowsOf(1, row), rowsOf(2, row)}, *mix, form.depth, to, count);
    }
  }

 private:
  // Rows past the last one repeat it.
  SampleRows rowsOf(int from, uint32_t row) const {
    const uint32_t shiftX = from != VPX_PLANE_Y ? image.x_chroma_shift : 0;
    const uint32_t shiftY = from != VPX_PLANE_Y ? image.y_chroma_shift : 0;
    const uint32_t last = ((image.d_h + shiftY) >> shiftY) - 1;
    const uint32_t first = std::min(form.mergeRows ? 2 * row : row, last);
    const uint32_t second = form.mergeRows ? std::min(first + 1, last) : first;
    const auto at = [&](uint32_t index) {
      return image.planes[from] + ptrdiff_t{index} * image.stride[from];
    };
    return {at(first), at(second), (image.d_w + shiftX) >> shiftX};
  }

  const vpx_image_t& image;
  int plane;
  SampleForm form{};
  SampleKernel kernel;
  MixKernel mixing;
  const SampleMix* mix = nullptr;  ///< of an RGB picture
};

/// A plane of the target, as much of it as is written.
struct TargetPlane {
  TargetPlane(VideoFrameBuffer& target, uint32_t plane, uint32_t samples, uint32_t rowCount, uint32_t step)
      : start(target.getPlane(plane)), stride(target.getStride(plane)) {
    const auto room = static_cast<uint32_t>(std::max(stride, 0)) / step;
    width = std::min(samples, room);
    rows = start != nullptr ? rowCount : 0;
  }

  uint8_t* row(uint32_t index) const { return start + ptrdiff_t{index} * stride; }

  uint8_t* start;
  int32_t stride;
  uint32_t width;
  uint32_t rows;
};

void writeRows(const PlaneWriter& writer, const TargetPlane& to) {
  for (uint32_t row = 0; row < to.rows; ++row) writer.write(row, to.row(row), to.width);
}

}  // namespace

bool VPXImageConversion::takes(const vpx_image_t& image) {
  if ((image.fmt & VPX_IMG_FMT_PLANAR) == 0 || image.bit_depth < 8 || image.bit_depth > 16) return false;
  if (image.cs == VPX_CS_SRGB) return image.x_chroma_shift == 0 && image.y_chroma_shift == 0;
  return image.x_chroma_shift <= 1 && image.y_chroma_shift <= 1;
}

bool VPXImageConversion::convert(const vpx_image_t& image, VideoFrameBuffer& target) {
  if (image.planes[VPX_PLANE_Y] == nullptr || target.getPlane(0) == nullptr) return true;
  const uint32_t fourCC = target.getFourCC();
  const bool paired = fourCC == kFourCCNV12;
  if (!paired && fourCC != kFourCCYV12 && fourCC != kFourCCI420 && fourCC != kFourCCIYUV) return false;
  const uint32_t width = std::min(image.d_w, target.getWidth());
  const uint32_t rows = std::min(image.d_h, target.getHeight());
  writeRows(PlaneWriter(image, VPX_PLANE_Y), TargetPlane(target, 0, width, rows, 1));
  const PlaneWriter u(image, VPX_PLANE_U);
  const PlaneWriter v(image, VPX_PLANE_V);
  const uint32_t chromaWidth = (width + 1) / 2;
  if (!paired) {
    const ChromaOrder order = chromaOrder(fourCC);
    writeRows(u, TargetPlane(target, order.u, chromaWidth, rows / 2, 1));
    writeRows(v, TargetPlane(target, order.v, chromaWidth, rows / 2, 1));
    return true;
  }
  const TargetPlane pairs(target, 1, chromaWidth, rows / 2, 2);
  chromaRows.resize(size_t{pairs.width} * 2);
  uint8_t* const uRow = chromaRows.data();
  uint8_t* const vRow = uRow + pairs.width;
  for (uint32_t row = 0; row < pairs.rows; ++row) {
    u.write(row, uRow, pairs.width);
    v.write(row, vRow, pairs.width);
    uint8_t* to = pairs.row(row);
    for (uint32_t i = 0; i < pairs.width; ++i, to += 2) {
      to[0] = uRow[i];
      to[1] = vRow[i];
    }
  }
  return true;
}

}  // namespace qvs

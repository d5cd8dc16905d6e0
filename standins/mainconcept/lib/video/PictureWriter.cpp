// Decoded pictures of any YUV form written into 8-bit 4:2:0 frames.
#include "video/PictureWriter.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "video/SampleRows.h"

namespace qvs::mc {

namespace {

constexpr uint8_t kNoColor = 128;

constexpr uint32_t code(const char (&name)[5]) {
  return static_cast<uint32_t>(name[0]) | static_cast<uint32_t>(name[1]) << 8 |
         static_cast<uint32_t>(name[2]) << 16 | static_cast<uint32_t>(name[3]) << 24;
}

/// Which plane of a target holds U and V, and bytes from one sample to the next.
struct TargetForm {
  uint32_t fourCC;
  int u;
  int v;
  int step;
};
constexpr TargetForm kTargets[] = {
    {code("YV12"), 2, 1, 1}, {code("I420"), 1, 2, 1}, {code("IYUV"), 1, 2, 1}, {code("NV12"), 1, 1, 2}};

constexpr int32_t fixedPoint(double value) {
  return static_cast<int32_t>(value * 65536 + (value < 0 ? -0.5 : 0.5));
}

using Mixes = std::array<SampleMix, 3>;

/// Y, U and V of G, B and R, the order of the planes. Narrow RGB has less room for luma than for chroma.
/// Weights sum up exactly, so that grey stays grey.
constexpr Mixes mixesOf(double red, double blue, bool fullRange) {
  const double chroma = (fullRange ? 1.0 : 224.0 / 219.0) / 2;
  const int32_t lumaB = fixedPoint(blue);
  const int32_t lumaR = fixedPoint(red);
  const int32_t most = fixedPoint(chroma);
  const int32_t uOfR = fixedPoint(-red * chroma / (1 - blue));
  const int32_t vOfB = fixedPoint(-blue * chroma / (1 - red));
  return {{{{65536 - lumaB - lumaR, lumaB, lumaR}, 0},
           {{-most - uOfR, most, uOfR}, 128},
           {{-most - vOfB, vOfB, most}, 128}}};
}

constexpr int kRowsOfHd = 720;
constexpr Mixes kBt601[] = {mixesOf(0.299, 0.114, false), mixesOf(0.299, 0.114, true)};
constexpr Mixes kBt709[] = {mixesOf(0.2126, 0.0722, false), mixesOf(0.2126, 0.0722, true)};

/// RGB keeps its range and gets the matrix that a picture of its height is taken to have; null for YUV.
const Mixes* mixesFor(const AVFrame& picture, const AVPixFmtDescriptor& format) {
  if ((format.flags & AV_PIX_FMT_FLAG_RGB) == 0) return nullptr;
  const bool fullRange = picture.color_range == AVCOL_RANGE_JPEG;
  return &(picture.height >= kRowsOfHd ? kBt709 : kBt601)[fullRange];
}

/// The picture as rows for one plane of the target.
class RowSource {
 public:
  RowSource(const AVFrame& from, const AVPixFmtDescriptor& format, int targetPlane)
      : picture(from),
        chromaShiftX(format.log2_chroma_w),
        chromaShiftY(format.log2_chroma_h),
        plane(targetPlane),
        depth(static_cast<uint32_t>(format.comp[0].depth)),
        mergeRows(plane != 0 && format.log2_chroma_h == 0) {
    const bool halveColumns = plane != 0 && format.log2_chroma_w == 0;
    kernel = rowKernel(depth, halveColumns, mergeRows);
    mixing = mixKernel(depth, halveColumns, mergeRows);
    if (const Mixes* mixes = mixesFor(picture, format)) mix = &(*mixes)[static_cast<size_t>(plane)];
  }

  void write(size_t row, uint8_t* to, size_t count) const {
    if (mix == nullptr) return kernel(rowsOf(plane, row), depth, to, count);
    mixing({rowsOf(0, row), rowsOf(1, row), rowsOf(2, row)}, *mix, depth, to, count);
  }

 private:
  // Rows past the last one repeat it.
  SampleRows rowsOf(int from, size_t row) const {
    const int shiftX = from != 0 ? chromaShiftX : 0;
    const int shiftY = from != 0 ? chromaShiftY : 0;
    const auto last = static_cast<size_t>(((picture.height + shiftY) >> shiftY) - 1);
    const size_t first = std::min(mergeRows ? 2 * row : row, last);
    const size_t second = mergeRows ? std::min(first + 1, last) : first;
    const auto at = [&](size_t index) {
      return picture.data[from] + static_cast<ptrdiff_t>(index) * picture.linesize[from];
    };
    return {at(first), at(second), static_cast<size_t>((picture.width + shiftX) >> shiftX)};
  }

  const AVFrame& picture;
  int chromaShiftX;
  int chromaShiftY;
  int plane;
  uint32_t depth;
  bool mergeRows;
  RowKernel kernel;
  MixKernel mixing;
  const SampleMix* mix = nullptr;  ///< of an RGB picture
};

/// What of a plane of the target is written.
struct PlaneRows {
  uint8_t* to;
  ptrdiff_t stride;  ///< bytes
  size_t width;      ///< samples
  size_t rows;
};

void writePlane(const RowSource& source, const PlaneRows& plane, int step, std::vector<uint8_t>& scratch) {
  if (plane.to == nullptr || plane.width == 0) return;
  if (step != 1) scratch.resize(plane.width);
  for (size_t row = 0; row < plane.rows; ++row) {
    uint8_t* to = plane.to + static_cast<ptrdiff_t>(row) * plane.stride;
    source.write(row, step == 1 ? to : scratch.data(), plane.width);
    for (size_t i = 0; step != 1 && i < plane.width; ++i) to[i * static_cast<size_t>(step)] = scratch[i];
  }
}

void clearPlane(uint8_t* to, ptrdiff_t stride, size_t bytes, size_t rows) {
  for (size_t row = 0; to != nullptr && row < rows; ++row)
    std::memset(to + static_cast<ptrdiff_t>(row) * stride, kNoColor, bytes);
}

// Forms whose samples lie one by one, low bits first, with chroma at half or full size.
bool isPlanar(const AVPixFmtDescriptor* format) {
  if (format == nullptr ||
      (format->flags & (AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_HWACCEL |
                        AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BITSTREAM)) != 0) {
    return false;
  }
  const bool grey = format->nb_components == 1;
  const bool planar = (format->flags & AV_PIX_FMT_FLAG_PLANAR) != 0 && format->nb_components >= 3;
  return (grey || planar) && format->comp[0].shift == 0 && format->log2_chroma_w <= 1 &&
         format->log2_chroma_h <= 1;
}

}  // namespace

bool PictureWriter::write(const AVFrame& picture, const mc_frame_t& target) {
  const auto* form = std::find_if(std::begin(kTargets), std::end(kTargets),
                                  [&](const TargetForm& row) { return row.fourCC == target.four_cc; });
  const AVPixFmtDescriptor* format =
      AvLibrary::codecs()->av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
  if (form == std::end(kTargets) || !isPlanar(format) || target.plane[0] == nullptr) return false;

  const size_t width = std::min(static_cast<size_t>(picture.width), size_t{target.width});
  const size_t rows = std::min(static_cast<size_t>(picture.height), size_t{target.height});
  const auto roomOf = [&](int plane) { return static_cast<size_t>(std::max(target.stride[plane], 0)); };
  writePlane(RowSource(picture, *format, 0),
             {target.plane[0], target.stride[0], std::min(width, roomOf(0)), rows}, 1, chromaRow);
  for (const int plane : {1, 2}) {
    const int to = plane == 1 ? form->u : form->v;
    const auto step = static_cast<size_t>(form->step);
    uint8_t* start = target.plane[to];
    // The column of an odd width is written where the target has room for it; rows are rounded down.
    const size_t chromaWidth = std::min((width + 1) / 2, roomOf(to) / step);
    if (format->nb_components == 1) {
      clearPlane(start, target.stride[to], chromaWidth * step, rows / 2);
      continue;
    }
    if (start != nullptr && form->step == 2 && plane == 2) ++start;
    writePlane(RowSource(picture, *format, plane), {start, target.stride[to], chromaWidth, rows / 2},
               form->step, chromaRow);
  }
  return true;
}

}  // namespace qvs::mc

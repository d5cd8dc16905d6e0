// Decoded pictures of any YUV form written into 8-bit 4:2:0 frames.
#include "video/PictureWriter.h"

#include <algorithm>
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

/// One plane's way from the picture to the target.
struct PlaneWay {
  const uint8_t* from;
  ptrdiff_t fromStride;  ///< bytes
  size_t fromWidth;      ///< samples
  size_t fromRows;
  uint32_t depth;
  bool halveColumns;
  bool mergeRows;
  uint8_t* to;
  ptrdiff_t toStride;  ///< bytes
  size_t width;        ///< samples to write
  size_t rows;
};

void writePlane(const PlaneWay& way, int step, std::vector<uint8_t>& scratch) {
  if (way.to == nullptr || way.width == 0 || way.rows == 0) return;
  const RowKernel kernel = rowKernel(way.depth, way.halveColumns, way.mergeRows);
  if (step != 1) scratch.resize(way.width);
  // Rows past the picture's last one repeat it.
  for (size_t row = 0; row < way.rows; ++row) {
    const size_t first = std::min(way.mergeRows ? 2 * row : row, way.fromRows - 1);
    const size_t second = way.mergeRows ? std::min(first + 1, way.fromRows - 1) : first;
    const SampleRows rows{way.from + static_cast<ptrdiff_t>(first) * way.fromStride,
                          way.from + static_cast<ptrdiff_t>(second) * way.fromStride, way.fromWidth};
    uint8_t* to = way.to + static_cast<ptrdiff_t>(row) * way.toStride;
    kernel(rows, way.depth, step == 1 ? to : scratch.data(), way.width);
    for (size_t i = 0; step != 1 && i < way.width; ++i) to[i * static_cast<size_t>(step)] = scratch[i];
  }
}

void clearPlane(uint8_t* to, ptrdiff_t stride, size_t bytes, size_t rows) {
  for (size_t row = 0; to != nullptr && row < rows; ++row)
    std::memset(to + static_cast<ptrdiff_t>(row) * stride, kNoColor, bytes);
}

// Forms whose samples lie one by one, low bits first, with chroma at half or full size.
bool isPlanarYuv(const AVPixFmtDescriptor* format) {
  if (format == nullptr ||
      (format->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_PAL |
                        AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_BITSTREAM)) != 0) {
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
  if (form == std::end(kTargets) || !isPlanarYuv(format) || target.plane[0] == nullptr) return false;

  const auto sourceWidth = static_cast<size_t>(picture.width);
  const auto sourceRows = static_cast<size_t>(picture.height);
  const size_t width = std::min<size_t>(sourceWidth, target.width);
  const size_t rows = std::min<size_t>(sourceRows, target.height);
  const auto depth = static_cast<uint32_t>(format->comp[0].depth);
  writePlane(
      {picture.data[0], picture.linesize[0], sourceWidth, sourceRows, depth, false, false, target.plane[0],
       target.stride[0], std::min(width, static_cast<size_t>(std::max(target.stride[0], 0))), rows},
      1, chromaRow);
  for (const int plane : {1, 2}) {
    const int to = plane == 1 ? form->u : form->v;
    uint8_t* start = target.plane[to];
    const auto room = static_cast<size_t>(std::max(target.stride[to], 0) / form->step);
    // The column of an odd width is written where the target has room for it; rows are rounded down.
    const size_t chromaWidth = std::min((width + 1) / 2, room);
    if (format->nb_components == 1) {
      clearPlane(start, target.stride[to], chromaWidth * static_cast<size_t>(form->step), rows / 2);
      continue;
    }
    if (start != nullptr && form->step == 2 && plane == 2) ++start;
    const size_t columns = format->log2_chroma_w != 0 ? (sourceWidth + 1) / 2 : sourceWidth;
    const size_t lines = format->log2_chroma_h != 0 ? (sourceRows + 1) / 2 : sourceRows;
    writePlane(
        {picture.data[plane], picture.linesize[plane], columns, lines, depth, format->log2_chroma_w == 0,
         format->log2_chroma_h == 0, start, target.stride[to], chromaWidth, rows / 2},
        form->step, chromaRow);
  }
  return true;
}

}  // namespace qvs::mc

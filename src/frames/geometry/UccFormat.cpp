// The converter's names of formats, and pictures and their parts as the converter sees them.
#include "frames/geometry/UccFormat.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/ColorspaceInfo.h"

namespace qvs {
namespace {

struct FormatName {
  uint32_t fourcc;
  uint32_t format;
};
constexpr FormatName kNames[] = {
    {kFourCCBGR3, UCC_FORMAT_BGR3},    {kFourCCBGRA, UCC_FORMAT_BGRA},    {kFourCCARGB, UCC_FORMAT_ARGB},
    {kFourCCBGR4, UCC_FORMAT_BGR4},    {fourcc("R555"), UCC_FORMAT_R555}, {fourcc("R565"), UCC_FORMAT_R565},
    {fourcc("AYUV"), UCC_FORMAT_AYUV}, {kFourCCVUYA, UCC_FORMAT_VUYA},    {fourcc("YUY2"), UCC_FORMAT_YUY2},
    {fourcc("UYVY"), UCC_FORMAT_UYVY}, {kFourCCYV12, UCC_FORMAT_I420},    {kFourCCI420, UCC_FORMAT_I420},
    {kFourCCIYUV, UCC_FORMAT_I420},    {kFourCCYV16, UCC_FORMAT_I422},    {kFourCCI422, UCC_FORMAT_I422},
    {fourcc("Y41P"), UCC_FORMAT_Y41P}, {kFourCCv210, UCC_FORMAT_V210},    {fourcc("P010"), UCC_FORMAT_P010},
    {fourcc("P016"), UCC_FORMAT_P016}, {fourcc("P210"), UCC_FORMAT_P210}, {fourcc("P216"), UCC_FORMAT_P216},
    {fourcc("Y210"), UCC_FORMAT_Y210}, {fourcc("Y216"), UCC_FORMAT_Y216},
};
/// Formats that only pictures of our own have, under names that `fourCCtoUCCFormat` doesn't tell.
constexpr FormatName kFrameOnlyNames[] = {
    {kFourCCNV12, UCC_FORMAT_NV12},
    {kFourCCNV21, UCC_FORMAT_NV21},
    {fourcc("YUYV"), UCC_FORMAT_YUY2},
};

template <size_t N>
const FormatName* findName(const FormatName (&names)[N], uint32_t code) {
  const auto found = std::find_if(std::begin(names), std::end(names),
                                  [code](const FormatName& row) { return row.fourcc == code; });
  return found != std::end(names) ? found : nullptr;
}

/// A tight layout: stride of plane 0 = width x times / divisor, and the other planes' share of it.
struct TightLayout {
  uint32_t firstFormat;
  uint32_t lastFormat;
  uint32_t planes;
  uint32_t strideTimes;
  uint32_t strideDivisor;
  uint32_t chromaStrideDivisor;
  uint32_t chromaRowDivisor;
};
constexpr uint32_t kFormatMax = 103;
constexpr TightLayout kTightLayouts[] = {
    {1, 2, 1, 4, 1, 1, 1},    {3, 3, 1, 8, 1, 1, 1},   {4, 7, 1, 2, 1, 1, 1},     {8, 9, 1, 4, 1, 1, 1},
    {10, 10, 1, 16, 6, 1, 1}, {11, 11, 1, 3, 2, 1, 1}, {12, 13, 1, 16, 6, 1, 1},  {14, 14, 3, 1, 1, 1, 1},
    {15, 19, 3, 2, 1, 1, 1},  {20, 20, 3, 1, 1, 2, 1}, {21, 25, 3, 2, 1, 2, 1},   {26, 27, 2, 2, 1, 1, 1},
    {28, 28, 3, 1, 1, 2, 2},  {29, 31, 2, 1, 1, 1, 2}, {32, 36, 3, 2, 1, 2, 2},   {37, 38, 2, 2, 1, 1, 2},
    {40, 42, 3, 1, 1, 4, 1},  {43, 44, 1, 4, 1, 1, 1}, {45, 46, 1, 2, 1, 1, 1},   {47, 48, 1, 3, 1, 1, 1},
    {49, 49, 1, 4, 1, 1, 1},  {50, 50, 3, 1, 1, 1, 1}, {103, 103, 1, 4, 1, 1, 1},
};

const TightLayout* findLayout(uint32_t format) {
  const auto found = std::find_if(
      std::begin(kTightLayouts), std::end(kTightLayouts),
      [format](const TightLayout& row) { return row.firstFormat <= format && format <= row.lastFormat; });
  return found != std::end(kTightLayouts) ? found : nullptr;
}

/// Whether every plane that the format has is there, with strides that hold whole rows of the picture.
bool rowsFitStrides(const frame_tt& frame) {
  int32_t rowBytes[4];
  if (get_plane_offsets_in_bytes(rowBytes, frame.width, 0, frame.four_cc, frame.stride) != 0) return false;
  for (uint32_t i = 0; i < 4; ++i) {
    if (rowBytes[i] != 0 && (frame.plane[i] == nullptr || std::llabs(frame.stride[i]) < rowBytes[i])) {
      return false;
    }
  }
  return true;
}

/// Formats in blocks of six pixels have rows of whole 128-byte units.
bool hasBlockRows(uint32_t format) {
  return format == 10 || format == 12 || format == 13;
}

}  // namespace

uint32_t fourCCtoUCCFormat(uint32_t fourccCode, uint32_t* format) {
  const FormatName* row = findName(kNames, fourccCode);
  if (row == nullptr || format == nullptr) return 0;
  *format = row->format;
  return 1;
}

uint32_t initUCCFrame(ucc_frame_t* frame, uint32_t format, uint32_t width, uint32_t height, uint8_t* memory) {
  const TightLayout* layout = format <= kFormatMax ? findLayout(format) : nullptr;
  if (layout == nullptr || frame == nullptr) return 0;
  frame->pixel_format = format;
  frame->width = width;
  frame->height = height;
  uint64_t stride = uint64_t{width} * layout->strideTimes / layout->strideDivisor;
  if (hasBlockRows(format)) stride = (stride + 127) & ~uint64_t{127};
  uint8_t* plane = memory;
  for (uint32_t i = 0; i < 4; ++i) {
    const bool present = i < layout->planes;
    const uint64_t planeStride = i == 0 ? stride : stride / layout->chromaStrideDivisor;
    frame->plane[i] = present ? plane : nullptr;
    frame->stride[i] = present ? static_cast<int32_t>(planeStride) : 0;
    if (present && memory != nullptr)
      plane += planeStride * (i == 0 ? height : height / layout->chromaRowDivisor);
  }
  return 1;
}

void setUCCColorimetry(ucc_frame_t* frame) {
  frame->colorimetry.color_primaries = COLOR_PRIMARIES_BT709_6;
  frame->colorimetry.transfer_characteristics = TRANSFER_CHARACTERISTICS_BT709_6;
  frame->colorimetry.matrix_coefficients = MATRIX_COEFFICIENTS_BT709_6;
  frame->colorimetry.signal_range = PIC_SIGNAL_RANGE_FULL;
  frame->progressive_frame_flag = 1;
}

uint32_t uccViewOfFrame(ucc_frame_t* view, const frame_tt& frame) {
  const FormatName* row = findName(kNames, frame.four_cc);
  if (row == nullptr) row = findName(kFrameOnlyNames, frame.four_cc);
  if (row == nullptr) return 0;
  *view = {};
  view->pixel_format = row->format;
  view->width = frame.width;
  view->height = frame.height;
  std::copy(std::begin(frame.plane), std::end(frame.plane), view->plane);
  std::copy(std::begin(frame.stride), std::end(frame.stride), view->stride);
  if (frame.plane[2] != nullptr) {
    const ChromaOrder order = chromaOrder(frame.four_cc);
    view->plane[1] = frame.plane[order.u];
    view->stride[1] = frame.stride[order.u];
    view->plane[2] = frame.plane[order.v];
    view->stride[2] = frame.stride[order.v];
  }
  setUCCColorimetry(view);
  return 1;
}

uint32_t uccViewOfRect(ucc_frame_t* view, const frame_tt& frame, const PixelRect& rect) {
  frame_tt part = frame;
  part.width = static_cast<uint32_t>(rect.width);
  part.height = static_cast<uint32_t>(rect.height);
  int32_t offsets[4];
  // The converter sees only the part, whose rows may fit a stride that the picture's own don't fit.
  if (!rowsFitStrides(frame) ||
      get_plane_offsets_in_bytes(offsets, static_cast<uint32_t>(rect.x), static_cast<uint32_t>(rect.y),
                                 frame.four_cc, frame.stride) != 0) {
    return 0;
  }
  for (uint32_t i = 0; i < 4; ++i) {
    if (part.plane[i] != nullptr) part.plane[i] += offsets[i];
  }
  return uccViewOfFrame(view, part);
}

}  // namespace qvs

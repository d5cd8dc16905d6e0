// Plane offsets, strides and crops of each format, as the converter's record holds them.
#include "frames/geometry/ColorspaceInfo.h"

#include <cstdlib>
#include <limits>

#include "frames/geometry/FormatTable.h"
#include "frames/geometry/FourCC.h"

namespace qvs {
namespace {

constexpr uint32_t kSuccess = 0;
constexpr uint32_t kRefused = 1;
constexpr uint32_t kImcRowsMultiple = 16;
constexpr uint32_t kV210CropPixels = 48;  // a block of 128 bytes

/// What a plane of a family is, measured on the whole picture.
struct PlaneShape {
  uint32_t widthDivisor;   ///< samples a row = width / this
  uint32_t heightDivisor;  ///< rows = height / this
  uint32_t strideTimes;    ///< default stride = stride of plane 0 x times / divisor
  uint32_t strideDivisor;
  uint32_t samplesPerPixel;  ///< samples that lie beside each other for one position
};

struct FamilyShape {
  PlaneFamily family;
  uint32_t planes;
  uint32_t lumaWidthDivisor;
  PlaneShape chroma;  ///< of all planes but the first
};

constexpr FamilyShape kShapes[] = {
    {PlaneFamily::kPacked, 1, 1, {1, 1, 1, 1, 1}},      {PlaneFamily::kPlanar420, 3, 1, {2, 2, 1, 2, 1}},
    {PlaneFamily::kImc, 3, 1, {2, 2, 1, 2, 1}},         {PlaneFamily::kTwoPlane420, 2, 1, {1, 2, 1, 1, 2}},
    {PlaneFamily::kPlanar422, 3, 1, {2, 1, 1, 2, 1}},   {PlaneFamily::kTwoPlane422, 2, 1, {1, 1, 1, 1, 2}},
    {PlaneFamily::kPlanar444, 3, 1, {1, 1, 1, 1, 1}},   {PlaneFamily::kTwoPlane444, 2, 1, {1, 1, 2, 1, 2}},
    {PlaneFamily::kPlanarAlpha, 4, 1, {1, 1, 1, 1, 1}}, {PlaneFamily::kPlanar410, 3, 1, {4, 2, 1, 4, 1}},
    {PlaneFamily::kPlanar411, 3, 1, {4, 1, 1, 4, 1}},   {PlaneFamily::kPlanar211, 3, 2, {4, 1, 1, 2, 1}},
};

const FamilyShape& shapeOf(PlaneFamily family) {
  for (const FamilyShape& shape : kShapes) {
    if (shape.family == family) return shape;
  }
  return kShapes[0];
}

/// Rows that one row of a chroma plane stands for.
uint32_t chromaRowDivisor(const FormatRow& format, const FamilyShape& shape) {
  const bool isYuv9 = format.info.chroma_format == 7;
  return isYuv9 ? 4 : shape.chroma.heightDivisor;
}

bool fits31Bits(uint64_t value) {
  return value <= std::numeric_limits<int32_t>::max();
}

uint64_t magnitude(int32_t value) {
  return static_cast<uint64_t>(std::llabs(value));
}

/// Fills strides; false where one doesn't fit.
bool chooseStrides(mc_frame_colorspace_info_t& info, const FormatRow& format, const FamilyShape& shape,
                   const int32_t* strides) {
  const uint64_t luma = shape.planes == 1
                            ? packedRowBytes(format, info.width)
                            : uint64_t{info.width} / shape.lumaWidthDivisor * format.bytesPerSample;
  if (!fits31Bits(luma * 2)) return false;
  for (uint32_t plane = 0; plane < shape.planes; ++plane) {
    const auto times = static_cast<int32_t>(plane != 0 ? shape.chroma.strideTimes : 1);
    const auto divisor = static_cast<int32_t>(plane != 0 ? shape.chroma.strideDivisor : 1);
    const int64_t usual = plane == 0 ? static_cast<int64_t>(luma) : int64_t{info.stride[0]} * times / divisor;
    const bool requested = strides != nullptr && strides[plane] != 0;
    const int64_t chosen = requested ? strides[plane] : usual;
    if (chosen < -std::numeric_limits<int32_t>::max() || chosen > std::numeric_limits<int32_t>::max()) {
      return false;
    }
    info.stride[plane] = static_cast<int32_t>(chosen);
  }
  return true;
}

/// Fills plane sizes, offsets and the frame's size; false where the picture doesn't fit.
bool placePlanes(mc_frame_colorspace_info_t& info, const FormatRow& format, const FamilyShape& shape) {
  const uint32_t rowDivisor = chromaRowDivisor(format, shape);
  int64_t offset = 0;
  uint64_t size = 0;
  for (uint32_t plane = 0; plane < shape.planes; ++plane) {
    info.plane_width[plane] = info.width / (plane != 0 ? shape.chroma.widthDivisor : shape.lumaWidthDivisor);
    info.plane_height[plane] = info.height / (plane != 0 ? rowDivisor : 1);
    info.plane_offset[plane] = static_cast<int32_t>(offset);
    uint64_t rows = info.plane_height[plane];
    if (plane == 0 && shape.family == PlaneFamily::kImc) {
      rows = (rows + kImcRowsMultiple - 1) / kImcRowsMultiple * kImcRowsMultiple;
    }
    size += magnitude(info.stride[plane]) * rows;
    offset += int64_t{info.stride[plane]} * static_cast<int64_t>(rows);
    if (!fits31Bits(size)) return false;
  }
  info.frame_size = static_cast<uint32_t>(size);
  return true;
}

}  // namespace

int32_t get_chroma_format(uint32_t fourccCode) {
  const FormatRow* format = FormatTable::find(fourccCode);
  return format != nullptr ? format->info.chroma_format : -1;
}

uint32_t get_pixels_per_macropixel(uint32_t fourccCode) {
  const FormatRow* format = FormatTable::find(fourccCode);
  return format != nullptr ? format->info.pixels_per_macropixel : 0;
}

uint32_t check_frame_colorspace_param(uint32_t width, uint32_t height, uint32_t fourccCode) {
  const FormatRow* format = FormatTable::find(fourccCode);
  if (format == nullptr || width == 0 || height == 0) return kRefused;
  const int32_t chroma = format->info.chroma_format;
  if ((chroma == 1 || chroma == 5) && height % 2 != 0) return kRefused;
  if (chroma == 7 && height % 4 != 0) return kRefused;
  const uint32_t multiple = fourccCode == kFourCCv210 ? 2 : format->info.pixels_per_macropixel;
  return width % multiple == 0 ? kSuccess : kRefused;
}

uint32_t get_frame_colorspace_info(mc_frame_colorspace_info_t* info, uint32_t width, uint32_t height,
                                   uint32_t fourccCode, const int32_t* strides) {
  if (info == nullptr || check_frame_colorspace_param(width, height, fourccCode) != kSuccess) return kRefused;
  const FormatRow& format = *FormatTable::find(fourccCode);
  const FamilyShape& shape = shapeOf(format.family);
  mc_frame_colorspace_info_t made{};
  made.width = width;
  made.height = height;
  made.fourcc = fourccCode;
  made.planes = shape.planes;
  if (!chooseStrides(made, format, shape, strides) || !placePlanes(made, format, shape)) return kRefused;
  *info = made;
  return kSuccess;
}

uint32_t get_frame_colorspace_info(mc_frame_colorspace_info_t* info, uint32_t width, uint32_t height,
                                   uint32_t fourccCode) {
  return get_frame_colorspace_info(info, width, height, fourccCode, nullptr);
}

uint32_t get_plane_offsets_in_bytes(int32_t* offsets, uint32_t x, uint32_t y, uint32_t fourccCode,
                                    const int32_t* strides) {
  const FormatRow* format = FormatTable::find(fourccCode);
  if (format == nullptr || offsets == nullptr || strides == nullptr) return kRefused;
  const FamilyShape& shape = shapeOf(format->family);
  int32_t made[4] = {};
  for (uint32_t plane = 0; plane < shape.planes; ++plane) {
    const uint64_t bytesPerSample = format->bytesPerSample;
    uint64_t column = x / shape.lumaWidthDivisor * bytesPerSample;
    if (shape.planes == 1) {
      column = packedRowBytes(*format, x);
    } else if (plane != 0) {
      const uint32_t positionsDivisor = shape.planes == 2 && shape.chroma.strideTimes == 1 ? 2u : 1u;
      column = uint64_t{x} / shape.chroma.widthDivisor / positionsDivisor * shape.chroma.samplesPerPixel *
               bytesPerSample;
    }
    const uint32_t row = plane != 0 ? y / chromaRowDivisor(*format, shape) : y;
    const int64_t offset = int64_t{strides[plane]} * row + static_cast<int64_t>(column);
    if (std::llabs(offset) > std::numeric_limits<int32_t>::max()) return kRefused;
    made[plane] = static_cast<int32_t>(offset);
  }
  for (uint32_t plane = 0; plane < 4; ++plane) offsets[plane] = made[plane];
  return kSuccess;
}

uint32_t crop_frame_colorspace_info(mc_frame_colorspace_info_t* info, uint32_t left, uint32_t top,
                                    uint32_t right, uint32_t bottom) {
  if (info == nullptr || uint64_t{left} + right >= info->width || uint64_t{top} + bottom >= info->height) {
    return kRefused;
  }
  const uint32_t width = info->width - left - right;
  const uint32_t height = info->height - top - bottom;
  if (info->fourcc == kFourCCv210 && left % kV210CropPixels != 0) return kRefused;
  // The corner has to lie between macropixels.
  const uint32_t cornerX = left + get_pixels_per_macropixel(info->fourcc);
  if (check_frame_colorspace_param(cornerX, top + 4, info->fourcc) != kSuccess ||
      check_frame_colorspace_param(width, height, info->fourcc) != kSuccess) {
    return kRefused;
  }
  int32_t offsets[4];
  mc_frame_colorspace_info_t narrow;
  if (get_plane_offsets_in_bytes(offsets, left, top, info->fourcc, info->stride) != kSuccess ||
      get_frame_colorspace_info(&narrow, width, height, info->fourcc, info->stride) != kSuccess) {
    return kRefused;
  }
  for (uint32_t plane = 0; plane < 4; ++plane) {
    info->plane_offset[plane] += offsets[plane];
    info->plane_height[plane] = narrow.plane_height[plane];
    info->plane_width[plane] = narrow.plane_width[plane];
  }
  info->width = width;
  info->height = height;
  return kSuccess;
}

}  // namespace qvs

// Scratch planes: storage, unpacking, packing, edges.
#include "ucc/PlanarPicture.h"

#include <algorithm>
#include <cstring>

namespace qvs::ucc {
namespace {

constexpr size_t roundUp(size_t value, size_t unit) {
  return (value + unit - 1) / unit * unit;
}

template <class T>
void fillPlaneEdges(const PlaneView& plane, uint32_t width, uint32_t height, uint32_t neutral) {
  const auto rowOf = [&plane](uint32_t y) { return reinterpret_cast<T*>(plane.row(y)); };
  if (width == 0 || height == 0) {
    for (uint32_t y = 0; y < plane.height; ++y) std::fill_n(rowOf(y), plane.width, static_cast<T>(neutral));
    return;
  }
  for (uint32_t y = 0; width < plane.width && y < height; ++y) {
    std::fill_n(rowOf(y) + width, plane.width - width, rowOf(y)[width - 1]);
  }
  // Rows below are copies of the last one with its columns already filled.
  for (uint32_t y = height; y < plane.height; ++y)
    std::memcpy(rowOf(y), rowOf(height - 1), plane.width * sizeof(T));
}

}  // namespace

AlignedBlock allocateAligned(size_t bytes) {
  if (bytes == 0) return {};
  return AlignedBlock(
      static_cast<uint8_t*>(std::aligned_alloc(kPlaneAlignment, roundUp(bytes, kPlaneAlignment))));
}

bool PlanarPicture::allocate(const WorkingForm& form, bool alpha, uint32_t width, uint32_t height,
                             uint32_t padTo) {
  const Shape wanted{form, alpha, width, height, padTo};
  if (block && wanted == shape) return true;
  block.reset();
  // One block, each row aligned, so that graphs may work in whole vectors up to the stride.
  const size_t padded[2] = {roundUp(width, padTo), roundUp(height, padTo)};
  size_t offset[5] = {};
  PlaneView laid[4];
  for (int i = 0; i < 4; ++i) {
    if (i < 3 || alpha) {
      laid[i].width = static_cast<uint32_t>(padded[0] >> form.shiftXOf(i));
      laid[i].height = static_cast<uint32_t>(padded[1] >> form.shiftYOf(i));
      laid[i].stride = static_cast<ptrdiff_t>(roundUp(laid[i].width * form.sampleBytes(), kPlaneAlignment));
    }
    offset[i + 1] = offset[i] + static_cast<size_t>(laid[i].stride) * laid[i].height;
  }
  block = allocateAligned(offset[4]);
  if (!block) return false;
  for (int i = 0; i < 4; ++i) {
    laid[i].data = laid[i].height ? block.get() + offset[i] : nullptr;
    planes[i] = laid[i];
  }
  shape = wanted;
  return true;
}

Rows PlanarPicture::rows(uint32_t y, bool chromaGrid) const {
  Rows rows{};
  for (int i = 0; i < 4; ++i) {
    if (!planes[i].data) continue;
    rows.component[i] = planes[i].row(chromaGrid ? y : y >> shape.form.shiftYOf(i));
  }
  return rows;
}

void PlanarPicture::unpackFrom(const PixelFormat& format, const ucc_frame_t& frame) {
  for (int p = 0; p < format.planes; ++p) {
    const PlaneCodec& codec = format.plane[p];
    const uint32_t samples = format.samplesInRow(p, shape.width);
    if (samples == 0) continue;
    const uint8_t* row = frame.plane[p];
    for (uint32_t y = 0, end = format.rowsOf(p, shape.height); y < end; ++y, row += frame.stride[p]) {
      codec.unpack(row, rows(y, codec.chroma), samples);
    }
  }
  fillEdges();
}

void PlanarPicture::packInto(const PixelFormat& format, const ucc_frame_t& frame,
                             const PlaneView& alpha) const {
  for (int p = 0; p < format.planes; ++p) {
    const PlaneCodec& codec = format.plane[p];
    const uint32_t samples = format.samplesInRow(p, shape.width);
    if (samples == 0) continue;
    uint8_t* row = frame.plane[p];
    for (uint32_t y = 0, end = format.rowsOf(p, shape.height); y < end; ++y, row += frame.stride[p]) {
      Rows from = rows(y, codec.chroma);
      from.component[3] = alpha.data ? alpha.row(y) : nullptr;
      codec.pack(row, from, samples);
    }
  }
}

void PlanarPicture::fillEdges() {
  const auto fill = shape.form.depth > 8 ? fillPlaneEdges<uint16_t> : fillPlaneEdges<uint8_t>;
  for (int i = 0; i < 3; ++i) {
    fill(planes[i], shape.width >> shape.form.shiftXOf(i), shape.height >> shape.form.shiftYOf(i),
         shape.form.neutral());
  }
  if (hasAlpha()) fillPlaneEdges<uint8_t>(planes[3], shape.width, shape.height, 255);
}

}  // namespace qvs::ucc

// Planes aligned for zimg, unpacked from any format and packed back.
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
  if (block_ && form == form_ && alpha == alphaWanted_ && width == width_ && height == height_ &&
      padTo == padTo_) {
    return true;
  }
  block_.reset();
  // One block, each row aligned, so that graphs may work in whole vectors up to the stride.
  const size_t padded[2] = {roundUp(width, padTo), roundUp(height, padTo)};
  size_t offset[5] = {};
  PlaneView planes[4];
  for (int i = 0; i < 4; ++i) {
    if (i < 3 || alpha) {
      planes[i].width = static_cast<uint32_t>(padded[0] >> form.shiftXOf(i));
      planes[i].height = static_cast<uint32_t>(padded[1] >> form.shiftYOf(i));
      planes[i].stride =
          static_cast<ptrdiff_t>(roundUp(planes[i].width * form.sampleBytes(), kPlaneAlignment));
    }
    offset[i + 1] = offset[i] + static_cast<size_t>(planes[i].stride) * planes[i].height;
  }
  block_ = allocateAligned(offset[4]);
  if (!block_) return false;
  for (int i = 0; i < 4; ++i) {
    planes[i].data = planes[i].height ? block_.get() + offset[i] : nullptr;
    planes_[i] = planes[i];
  }
  form_ = form;
  alphaWanted_ = alpha;
  width_ = width;
  height_ = height;
  padTo_ = padTo;
  return true;
}

Rows PlanarPicture::rows(uint32_t y, bool chromaGrid) const {
  Rows rows{};
  for (int i = 0; i < 4; ++i) {
    if (!planes_[i].data) continue;
    rows.component[i] = planes_[i].row(chromaGrid ? y : y >> form_.shiftYOf(i));
  }
  return rows;
}

void PlanarPicture::unpackFrom(const PixelFormat& format, const ucc_frame_t& frame) {
  for (int p = 0; p < format.planes; ++p) {
    const PlaneCodec& codec = format.plane[p];
    const uint32_t samples = format.samplesInRow(p, width_);
    if (samples == 0) continue;
    const uint8_t* row = frame.plane[p];
    for (uint32_t y = 0, end = format.rowsOf(p, height_); y < end; ++y, row += frame.stride[p]) {
      codec.unpack(row, rows(y, codec.chroma), samples);
    }
  }
  fillEdges();
}

void PlanarPicture::packInto(const PixelFormat& format, const ucc_frame_t& frame,
                             const PlaneView& alpha) const {
  for (int p = 0; p < format.planes; ++p) {
    const PlaneCodec& codec = format.plane[p];
    const uint32_t samples = format.samplesInRow(p, width_);
    if (samples == 0) continue;
    uint8_t* row = frame.plane[p];
    for (uint32_t y = 0, end = format.rowsOf(p, height_); y < end; ++y, row += frame.stride[p]) {
      Rows from = rows(y, codec.chroma);
      from.component[3] = alpha.data ? alpha.row(y) : nullptr;
      codec.pack(row, from, samples);
    }
  }
}

void PlanarPicture::fillEdges() {
  const auto fill = form_.depth > 8 ? fillPlaneEdges<uint16_t> : fillPlaneEdges<uint8_t>;
  for (int i = 0; i < 3; ++i) {
    fill(planes_[i], width_ >> form_.shiftXOf(i), height_ >> form_.shiftYOf(i), form_.neutral());
  }
  if (hasAlpha()) fillPlaneEdges<uint8_t>(planes_[3], width_, height_, 255);
}

}  // namespace qvs::ucc

#include "Roads.h"

#include <cstring>

namespace qvs::ucc {

bool CopyRoad::prepare(const Task& task) {
  format_ = task.target;
  width_ = task.targetWidth;
  height_ = task.targetHeight;
  return true;
}

bool CopyRoad::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  for (int p = 0; p < format_->planes; ++p) {
    const size_t bytes = format_->rowBytes(p, width_);
    const uint32_t rows = format_->rowsOf(p, height_);
    const uint8_t* from = source.plane[p];
    uint8_t* to = target.plane[p];
    if (bytes == 0 || rows == 0 || from == to) continue;
    const bool contiguous =
        source.stride[p] == target.stride[p] && static_cast<size_t>(source.stride[p]) == bytes;
    if (contiguous) {
      std::memcpy(to, from, bytes * rows);
      continue;
    }
    for (uint32_t y = 0; y < rows; ++y, from += source.stride[p], to += target.stride[p])
      std::memcpy(to, from, bytes);
  }
  return true;
}

bool RepackRoad::prepare(const Task& task) {
  task_ = task;
  const WorkingForm& form = task.source->form;
  const bool alpha = task.source->hasAlpha && task.target->hasAlpha;
  return row_.allocate(form, alpha, task.sourceWidth, 1, 1u << std::max(form.shiftX, form.shiftY));
}

bool RepackRoad::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  const WorkingForm& form = task_.source->form;
  const bool apart = form.shiftY != 0;  // chroma rows are fewer and have planes of their own
  for (uint32_t y = 0; y < task_.sourceHeight; ++y) {
    unpackRow(source, y, false);
    if (!apart) unpackRow(source, y, true);
    packRow(target, y, false);
    if (!apart) packRow(target, y, true);
  }
  for (uint32_t y = 0; apart && y < task_.sourceHeight >> form.shiftY; ++y) {
    unpackRow(source, y, true);
    packRow(target, y, true);
  }
  return true;
}

void RepackRoad::unpackRow(const ucc_frame_t& source, uint32_t y, bool chroma) {
  const PixelFormat& format = *task_.source;
  const Rows rows = row_.rows(0, true);
  for (int p = 0; p < format.planes; ++p) {
    if (format.plane[p].chroma != chroma) continue;
    const uint32_t samples = format.samplesInRow(p, task_.sourceWidth);
    const uint8_t* from = source.plane[p];
    if (samples) format.plane[p].unpack(from + static_cast<ptrdiff_t>(y) * source.stride[p], rows, samples);
  }
}

void RepackRoad::packRow(const ucc_frame_t& target, uint32_t y, bool chroma) {
  const PixelFormat& format = *task_.target;
  const Rows rows = row_.rows(0, true);
  for (int p = 0; p < format.planes; ++p) {
    if (format.plane[p].chroma != chroma) continue;
    const uint32_t samples = format.samplesInRow(p, task_.sourceWidth);
    uint8_t* to = target.plane[p];
    if (samples) format.plane[p].pack(to + static_cast<ptrdiff_t>(y) * target.stride[p], rows, samples);
  }
}

bool GraphRoad::prepare(const Task& task) {
  format_ = task.target;
  return conversion_.configure(
      {task.target->form, task.target->hasAlpha, task.targetWidth, task.targetHeight, task.targetColour},
      {task.source, task.sourceWidth, task.sourceHeight, task.sourceColour});
}

bool GraphRoad::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  if (!conversion_.run(source)) return false;
  conversion_.result().packInto(*format_, target, conversion_.alpha());
  return true;
}

}  // namespace qvs::ucc

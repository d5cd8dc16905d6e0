// Row by row from one packing to another.
#include "ucc/RepackPath.h"

#include <algorithm>

namespace qvs::ucc {

bool RepackPath::prepare(const Task& task) {
  planned = task;
  const WorkingForm& form = task.source->form;
  const bool alpha = task.source->hasAlpha && task.target->hasAlpha;
  return row.allocate(form, alpha, task.sourceWidth, 1, 1u << std::max(form.shiftX, form.shiftY));
}

bool RepackPath::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  const WorkingForm& form = planned.source->form;
  const bool apart = form.shiftY != 0;  // chroma rows are fewer and have planes of their own
  for (uint32_t y = 0; y < planned.sourceHeight; ++y) {
    unpackRow(source, y, false);
    if (!apart) unpackRow(source, y, true);
    packRow(target, y, false);
    if (!apart) packRow(target, y, true);
  }
  for (uint32_t y = 0; apart && y < planned.sourceHeight >> form.shiftY; ++y) {
    unpackRow(source, y, true);
    packRow(target, y, true);
  }
  return true;
}

void RepackPath::unpackRow(const ucc_frame_t& source, uint32_t y, bool chroma) {
  const PixelFormat& format = *planned.source;
  const Rows rows = row.rows(0, true);
  for (int p = 0; p < format.planes; ++p) {
    if (format.plane[p].chroma != chroma) continue;
    const uint32_t samples = format.samplesInRow(p, planned.sourceWidth);
    const uint8_t* from = source.plane[p];
    if (samples) format.plane[p].unpack(from + static_cast<ptrdiff_t>(y) * source.stride[p], rows, samples);
  }
}

void RepackPath::packRow(const ucc_frame_t& target, uint32_t y, bool chroma) {
  const PixelFormat& format = *planned.target;
  const Rows rows = row.rows(0, true);
  for (int p = 0; p < format.planes; ++p) {
    if (format.plane[p].chroma != chroma) continue;
    const uint32_t samples = format.samplesInRow(p, planned.sourceWidth);
    uint8_t* to = target.plane[p];
    if (samples) format.plane[p].pack(to + static_cast<ptrdiff_t>(y) * target.stride[p], rows, samples);
  }
}

}  // namespace qvs::ucc

// Rows copied as they are: same format, size and color.
#include "ucc/CopyRoad.h"

#include "ucc/kernels/Plane.h"

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
    // A plane onto itself has nothing to copy, and one too narrow for samples may have no memory at all.
    if (bytes == 0 || rows == 0 || source.plane[p] == target.plane[p]) continue;
    copyPlane(source.plane[p], source.stride[p], target.plane[p], target.stride[p], bytes, rows);
  }
  return true;
}

}  // namespace qvs::ucc

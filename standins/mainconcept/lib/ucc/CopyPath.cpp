// Copying of planes between equal pictures.
#include "ucc/CopyPath.h"

#include "ucc/kernels/Plane.h"

namespace qvs::ucc {

bool CopyPath::prepare(const Task& task) {
  format = task.target;
  width = task.targetWidth;
  height = task.targetHeight;
  return true;
}

bool CopyPath::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  for (int p = 0; p < format->planes; ++p) {
    const size_t bytes = format->rowBytes(p, width);
    const uint32_t rows = format->rowsOf(p, height);
    // A plane onto itself has nothing to copy, and one too narrow for samples may have no memory at all.
    if (bytes == 0 || rows == 0 || source.plane[p] == target.plane[p]) continue;
    copyPlane(source.plane[p], source.stride[p], target.plane[p], target.stride[p], bytes, rows);
  }
  return true;
}

}  // namespace qvs::ucc

// Scaling plane by plane.
#include "ucc/PlaneScalePath.h"

#include "ucc/kernels/Plane.h"

namespace qvs::ucc {
namespace {

constexpr uint8_t kNeutral8 = 128;

}  // namespace

bool PlaneScalePath::prepare(const Task& task) {
  planned = task;
  const WorkingForm& form = task.source->form;
  const uint32_t sourceWidth = task.sourceWidth >> form.shiftX,
                 sourceHeight = task.sourceHeight >> form.shiftY;
  const uint32_t targetWidth = task.targetWidth >> form.shiftX,
                 targetHeight = task.targetHeight >> form.shiftY;
  // Two-plane formats scale U and V together, side by side.
  const uint32_t components = task.source->planes == 2 ? 2 : 1;
  if (!luma.configure(task.sourceWidth, task.sourceHeight, task.targetWidth, task.targetHeight, 1,
                      task.orientation))
    return false;
  // A picture too small for chroma has no plane to scale, or none to scale into.
  if (!sourceWidth || !sourceHeight || !targetWidth || !targetHeight) return true;
  return chroma.configure(sourceWidth, sourceHeight, targetWidth, targetHeight, components, task.orientation);
}

bool PlaneScalePath::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  luma.run(source.plane[0], source.stride[0], target.plane[0], target.stride[0]);
  const PixelFormat& format = *planned.target;
  for (int p = 1; p < format.planes; ++p) {
    const bool sourceHasChroma =
        format.samplesInRow(p, planned.sourceWidth) != 0 && format.rowsOf(p, planned.sourceHeight) != 0;
    const uint32_t bytes = format.rowBytes(p, planned.targetWidth);
    const uint32_t rows = format.rowsOf(p, planned.targetHeight);
    if (bytes == 0 || rows == 0) continue;
    if (sourceHasChroma) {
      chroma.run(source.plane[p], source.stride[p], target.plane[p], target.stride[p]);
    } else {
      fillPlane(target.plane[p], target.stride[p], bytes, rows, kNeutral8);
    }
  }
  return true;
}

}  // namespace qvs::ucc

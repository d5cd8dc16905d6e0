// The path for any pair of formats.
#include "ucc/GraphPath.h"

#include <algorithm>
#include <utility>

#include "ucc/kernels/Turn.h"

namespace qvs::ucc {

bool GraphPath::prepare(const Task& task) {
  format = task.target;
  orientation = task.orientation;
  WorkingForm form = task.target->form;
  uint32_t width = task.targetWidth, height = task.targetHeight;
  const uint32_t unit = 1u << std::max(form.shiftX, form.shiftY);
  if (!orientation.upright() && !turned.allocate(form, task.target->hasAlpha, width, height, unit))
    return false;
  if (orientation.transposed) {
    std::swap(width, height);
    std::swap(form.shiftX, form.shiftY);
  }
  return conversion.configure({form, task.target->hasAlpha, width, height, task.targetColor},
                              {task.source, task.sourceWidth, task.sourceHeight, task.sourceColor});
}

bool GraphPath::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  if (!conversion.run(source)) return false;
  if (orientation.upright()) {
    conversion.result().packInto(*format, target, conversion.alpha());
  } else {
    turnPlanes();
    turned.packInto(*format, target, conversion.alpha().data ? turned.plane(3) : PlaneView{});
  }
  return true;
}

void GraphPath::turnPlanes() {
  for (int i = 0; i < 4; ++i) {
    const PlaneView& from = i < 3 ? conversion.result().plane(i) : conversion.alpha();
    if (!from.data) continue;
    const PlaneView& to = turned.plane(i);
    // The picture itself: padding stays where it is.
    uint32_t columns = turned.width() >> turned.form().shiftXOf(i);
    uint32_t rows = turned.height() >> turned.form().shiftYOf(i);
    if (orientation.transposed) std::swap(columns, rows);
    turnPlane(from.data, from.stride, to.data, to.stride, columns, rows,
              i < 3 ? turned.form().sampleBytes() : 1, orientation);
  }
}

}  // namespace qvs::ucc

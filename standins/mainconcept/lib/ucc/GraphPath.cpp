// The path for any pair of formats.
#include "ucc/GraphPath.h"

namespace qvs::ucc {

bool GraphPath::prepare(const Task& task) {
  format = task.target;
  return conversion.configure(
      {task.target->form, task.target->hasAlpha, task.targetWidth, task.targetHeight, task.targetColor},
      {task.source, task.sourceWidth, task.sourceHeight, task.sourceColor});
}

bool GraphPath::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  if (!conversion.run(source)) return false;
  conversion.result().packInto(*format, target, conversion.alpha());
  return true;
}

}  // namespace qvs::ucc

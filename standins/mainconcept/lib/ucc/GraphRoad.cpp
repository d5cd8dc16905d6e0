// Any conversion: unpack to planes, one zimg graph, pack.
#include "ucc/GraphRoad.h"

namespace qvs::ucc {

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

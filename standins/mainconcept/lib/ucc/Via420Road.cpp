// Scaling in planar 4:2:0 with a conversion of equal size before or after.
#include "ucc/Via420Road.h"

#include "ucc/RoadTable.h"

namespace qvs::ucc {

bool Via420Road::prepare(const Task& task) {
  const PixelFormat* planar = findPixelFormat(UCC_FORMAT_I420);
  const bool sourceIsRgb = !task.fromYuv();
  // The picture between has the colour of the 4:2:0 side and, where the source is 4:2:0, already the target's
  // size.
  const bool scaleFirst = task.source == planar;
  const uint32_t width = scaleFirst ? task.targetWidth : task.sourceWidth;
  const uint32_t height = scaleFirst ? task.targetHeight : task.sourceHeight;
  const Colour& colour = sourceIsRgb ? task.targetColour : task.sourceColour;

  if (!between_.allocate(planar->form, false, width, height, 2)) return false;
  middle_.pixel_format = planar->id;
  middle_.width = width;
  middle_.height = height;
  for (int i = 0; i < 3; ++i) {
    middle_.plane[i] = between_.plane(i).data;
    middle_.stride[i] = static_cast<int32_t>(between_.plane(i).stride);
  }
  // Each half finds its own row of the table, one of them the plane scaler; no half leads back here.
  first_ = chooseRoad(
      {planar, task.source, width, height, task.sourceWidth, task.sourceHeight, colour, task.sourceColour});
  second_ = chooseRoad(
      {task.target, planar, task.targetWidth, task.targetHeight, width, height, task.targetColour, colour});
  return first_ && second_;
}

bool Via420Road::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  return first_->run(middle_, source) && second_->run(target, middle_);
}

}  // namespace qvs::ucc

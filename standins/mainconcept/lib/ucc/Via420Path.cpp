// Two conversions by way of planar 4:2:0.
#include "ucc/Via420Path.h"

namespace qvs::ucc {

bool Via420Path::prepare(const Task& task) {
  const PixelFormat* planar = findPixelFormat(UCC_FORMAT_I420);
  const bool sourceIsRgb = !task.fromYuv();
  // The picture between has the color of the 4:2:0 side and, where the source is 4:2:0, already the target's
  // size.
  const bool scaleFirst = task.source == planar;
  const uint32_t width = scaleFirst ? task.targetWidth : task.sourceWidth;
  const uint32_t height = scaleFirst ? task.targetHeight : task.sourceHeight;
  const Color& color = sourceIsRgb ? task.targetColor : task.sourceColor;

  if (!between.allocate(planar->form, false, width, height, 2)) return false;
  middle.pixel_format = planar->id;
  middle.width = width;
  middle.height = height;
  for (int i = 0; i < 3; ++i) {
    middle.plane[i] = between.plane(i).data;
    middle.stride[i] = static_cast<int32_t>(between.plane(i).stride);
  }
  // Each half finds its own row of the table, one of them the plane scaler; no half leads back here.
  first = choose({planar, task.source, width, height, task.sourceWidth, task.sourceHeight, color,
                  task.sourceColor, scaleFirst ? task.orientation : Orientation{}});
  second = choose({task.target, planar, task.targetWidth, task.targetHeight, width, height, task.targetColor,
                   color, scaleFirst ? Orientation{} : task.orientation});
  return first && second;
}

bool Via420Path::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  return first->run(middle, source) && second->run(target, middle);
}

}  // namespace qvs::ucc

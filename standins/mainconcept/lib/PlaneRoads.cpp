#include "PlaneRoads.h"

#include "kernels/Plane.h"
#include "RoadTable.h"

namespace qvs::ucc {
namespace {

constexpr uint8_t kNeutral8 = 128;

struct LumaWeights {
  double red;
  double blue;
};

LumaWeights weightsOf(const Colour& colour) {
  return colour.matrix == MATRIX_COEFFICIENTS_BT601_6 ? LumaWeights{0.299, 0.114}
                                                      : LumaWeights{0.2126, 0.0722};
}

}  // namespace

bool PlaneScaleRoad::prepare(const Task& task) {
  task_ = task;
  const WorkingForm& form = task.source->form;
  const uint32_t sourceWidth = task.sourceWidth >> form.shiftX,
                 sourceHeight = task.sourceHeight >> form.shiftY;
  const uint32_t targetWidth = task.targetWidth >> form.shiftX,
                 targetHeight = task.targetHeight >> form.shiftY;
  const uint32_t components = task.source->planes == 2 ? 2 : 1;
  if (!luma_.configure(task.sourceWidth, task.sourceHeight, task.targetWidth, task.targetHeight))
    return false;
  if (!sourceWidth || !sourceHeight || !targetWidth || !targetHeight) return true;
  return chroma_.configure(sourceWidth, sourceHeight, targetWidth, targetHeight, components);
}

bool PlaneScaleRoad::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  luma_.run(source.plane[0], source.stride[0], target.plane[0], target.stride[0]);
  const PixelFormat& format = *task_.target;
  for (int p = 1; p < format.planes; ++p) {
    const bool sourceHasChroma =
        format.samplesInRow(p, task_.sourceWidth) != 0 && format.rowsOf(p, task_.sourceHeight) != 0;
    const uint32_t bytes = format.rowBytes(p, task_.targetWidth);
    const uint32_t rows = format.rowsOf(p, task_.targetHeight);
    if (bytes == 0 || rows == 0) continue;
    if (sourceHasChroma) {
      chroma_.run(source.plane[p], source.stride[p], target.plane[p], target.stride[p]);
    } else {
      fillPlane(target.plane[p], target.stride[p], bytes, rows, kNeutral8);
    }
  }
  return true;
}

bool RgbTo420Road::prepare(const Task& task) {
  const LumaWeights weights = weightsOf(task.targetColour);
  order_ = task.source->id == UCC_FORMAT_ARGB ? kArgbOrder : kBgraOrder;
  matrix_ = makeRgbToYuvMatrix(weights.red, weights.blue, task.targetColour.fullRange);
  return true;
}

bool RgbTo420Road::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  const Planes420 planes{target.plane[0],  target.plane[1],  target.plane[2],
                         target.stride[0], target.stride[1], target.stride[2]};
  bgraTo420(source.plane[0], source.stride[0], order_, matrix_, planes, target.width, target.height);
  return true;
}

bool Via420Road::prepare(const Task& task) {
  const PixelFormat* planar = findPixelFormat(UCC_FORMAT_I420);
  const bool sourceIsRgb = !task.fromYuv();
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

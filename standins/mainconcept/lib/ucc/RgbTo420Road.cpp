// Four-byte RGB to planar 4:2:0 with the own kernels.
#include "ucc/RgbTo420Road.h"

namespace qvs::ucc {
namespace {

struct LumaWeights {
  double red;
  double blue;
};

LumaWeights weightsOf(const Colour& colour) {
  return colour.matrix == MATRIX_COEFFICIENTS_BT601_6 ? LumaWeights{0.299, 0.114}
                                                      : LumaWeights{0.2126, 0.0722};
}

}  // namespace

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

}  // namespace qvs::ucc

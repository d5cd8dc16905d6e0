// Four-byte RGB to planar 4:2:0.
#include "ucc/RgbTo420Path.h"

namespace qvs::ucc {
namespace {

struct LumaWeights {
  double red;
  double blue;
};

LumaWeights weightsOf(const Color& color) {
  return color.matrix == MATRIX_COEFFICIENTS_BT601_6 ? LumaWeights{0.299, 0.114}
                                                     : LumaWeights{0.2126, 0.0722};
}

}  // namespace

bool RgbTo420Path::prepare(const Task& task) {
  const LumaWeights weights = weightsOf(task.targetColor);
  order = task.source->id == UCC_FORMAT_ARGB ? kArgbOrder : kBgraOrder;
  matrix = makeRgbToYuvMatrix(weights.red, weights.blue, task.targetColor.fullRange);
  return true;
}

bool RgbTo420Path::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  const Planes420 planes{target.plane[0],  target.plane[1],  target.plane[2],
                         target.stride[0], target.stride[1], target.stride[2]};
  bgraTo420(source.plane[0], source.stride[0], order, matrix, planes, target.width, target.height);
  return true;
}

}  // namespace qvs::ucc

// Conversions of equal size that one libyuv or own kernel does.
#include "ucc/KernelRoad.h"

namespace qvs::ucc {
namespace {

struct MatrixRow {
  Colour colour;
  const libyuv::YuvConstants* constants;
};

// BT.709 in short range isn't here: its weight of U in blue doesn't fit libyuv's signed bytes and comes out 6
// % short.
constexpr MatrixRow kMatrices[] = {
    {{MATRIX_COEFFICIENTS_BT709_6, true}, &libyuv::kYuvF709Constants},
    {{MATRIX_COEFFICIENTS_BT601_6, true}, &libyuv::kYuvJPEGConstants},
    {{MATRIX_COEFFICIENTS_BT601_6, false}, &libyuv::kYuvI601Constants},
};

}  // namespace

const libyuv::YuvConstants* findLibyuvMatrix(const Colour& yuv) {
  for (const MatrixRow& row : kMatrices) {
    if (row.colour == yuv) return row.constants;
  }
  return nullptr;
}

bool KernelRoad::prepare(const Task& task) {
  matrix_ = findLibyuvMatrix(task.yuvColour());
  return true;
}

bool KernelRoad::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  kernel_(target, source, matrix_);
  return true;
}

}  // namespace qvs::ucc

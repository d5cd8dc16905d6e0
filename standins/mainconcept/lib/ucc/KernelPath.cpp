// libyuv's color matrices, and the path over its whole-picture kernels.
#include "ucc/KernelPath.h"

namespace qvs::ucc {
namespace {

struct MatrixRow {
  Color color;
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

const libyuv::YuvConstants* findLibyuvMatrix(const Color& yuv) {
  for (const MatrixRow& row : kMatrices) {
    if (row.color == yuv) return row.constants;
  }
  return nullptr;
}

bool KernelPath::prepare(const Task& task) {
  matrix = findLibyuvMatrix(task.yuvColor());
  return true;
}

bool KernelPath::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  kernel(target, source, matrix);
  return true;
}

}  // namespace qvs::ucc

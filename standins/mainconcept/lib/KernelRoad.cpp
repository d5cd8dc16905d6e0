#include "KernelRoad.h"

namespace qvs::ucc {
namespace {

struct MatrixRow {
  Colour colour;
  const libyuv::YuvConstants* constants;
};

constexpr MatrixRow kMatrices[] = {
    {{MATRIX_COEFFICIENTS_BT709_6, true}, &libyuv::kYuvF709Constants},
    {{MATRIX_COEFFICIENTS_BT709_6, false}, &libyuv::kYuvH709Constants},
    {{MATRIX_COEFFICIENTS_BT601_6, true}, &libyuv::kYuvJPEGConstants},
    {{MATRIX_COEFFICIENTS_BT601_6, false}, &libyuv::kYuvI601Constants},
};

}  // namespace

bool KernelRoad::prepare(const Task& task) {
  const Colour& yuv = task.source->form.family == Family::kYuv ? task.sourceColour : task.targetColour;
  for (const MatrixRow& row : kMatrices) {
    if (row.colour == yuv) matrix_ = row.constants;
  }
  return true;
}

bool KernelRoad::run(const ucc_frame_t& target, const ucc_frame_t& source) {
  kernel_(target, source, *matrix_);
  return true;
}

}  // namespace qvs::ucc

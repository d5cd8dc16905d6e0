#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ScalerKernels.h"

namespace qvs::intrinsic {

/// Halves planes of 8-bit samples; beyond the edges the edge samples are repeated.
class PlaneHalver {
 public:
  explicit PlaneHalver(const ScalerKernels& kernels) : kernels(kernels) {}

  /// Scratch for sources up to `width` samples wide. False when memory fails.
  bool reserve(size_t width);

  /// Strides in bytes; the source has twice the target's `width` and `height`. Needs `reserve`.
  void halve(const uint8_t* source, size_t sourceStride, uint8_t* target, size_t targetStride, size_t width,
             size_t height);

 private:
  ScalerKernels kernels;
  std::unique_ptr<int16_t[]> scratch;  // one row after the vertical pass, with its margins
  size_t reserved = 0;                 // samples without the margins
};

}  // namespace qvs::intrinsic

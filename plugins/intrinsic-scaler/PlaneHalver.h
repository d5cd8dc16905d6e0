#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "ScalerKernels.h"

namespace qvs::intrinsic {

/// Halves planes of 8-bit samples; beyond the edges the edge samples are repeated.
class PlaneHalver {
 public:
  struct Plane {
    uint8_t* samples;
    size_t stride;  // bytes
    size_t width;
    size_t height;
  };

  explicit PlaneHalver(const ScalerKernels& kernels) : kernels(kernels) {}

  /// Scratch for sources up to `width` samples wide. False when memory fails.
  bool reserve(size_t width);

  /// The target has half the source's width and height, rounded down. Needs `reserve`.
  void halve(const Plane& source, const Plane& target);

 private:
  ScalerKernels kernels;
  std::unique_ptr<int16_t[]> scratch;  // one row after the vertical pass, with its margins
  size_t reserved = 0;                 // samples without the margins
};

}  // namespace qvs::intrinsic

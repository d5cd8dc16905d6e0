// Bicubic scaling of one 8-bit plane.
#pragma once

#include <cstddef>
#include <cstdint>

#include "AlignedBuffer.h"
#include "FilterBank.h"
#include "GatherPlan.h"
#include "KernelTable.h"

namespace qvs::ucc {

/// Separable bicubic scaler (Catmull-Rom, widened by the ratio when it shrinks), centres of the outer edges
/// aligned, edge samples repeated. Every instruction set gives the same bytes.
///
/// An instance belongs to one thread at a time.
class PlaneScaler {
 public:
  PlaneScaler() = default;
  PlaneScaler(PlaneScaler&&) noexcept = default;
  PlaneScaler& operator=(PlaneScaler&&) noexcept = default;

  /// Builds filters and scratch. Sizes are in pixels, 1 to 65536 each; `components` is 1, or 2 where two
  /// components lie side by side (U and V). False when memory fails or an argument is out of range: then
  /// run() does nothing.
  bool configure(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight,
                 uint32_t components = 1);

  /// Scales one plane; allocates nothing. Strides are bytes and may be negative. Reads and writes only the
  /// rows' own bytes.
  void run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride);

 private:
  void runRows(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride);
  const int16_t* lineFor(const uint8_t* src, ptrdiff_t srcStride, uint32_t row);

  const KernelTable* kernels_ = nullptr;
  uint32_t dstHeight_ = 0;
  uint32_t dstRowSamples_ = 0;
  FilterBank horizontal_;
  FilterBank vertical_;
  GatherPlan gather_;
  AlignedBuffer lines_;  ///< ring of rows that are scaled in width
  uint32_t lineSamples_ = 0;
  uint32_t ringRows_ = 0;
  uint32_t nextRow_ = 0;  ///< first source row that isn't in the ring yet
};

}  // namespace qvs::ucc

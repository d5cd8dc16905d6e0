// Bicubic scaling of one 8-bit plane.
#pragma once

#include <cstddef>
#include <cstdint>

#include "AlignedBuffer.h"
#include "FilterBank.h"
#include "GatherPlan.h"
#include "Orientation.h"

namespace qvs::ucc {

struct KernelTable;

/// Separable bicubic scaler (widened by the ratio when it shrinks), outer edges of both pictures aligned,
/// edge samples repeated. Every instruction set gives the same bytes.
///
/// Turns and mirrors on the way: reversed rows and columns cost nothing, a transposition is done on bands of
/// scaled rows that are still in the cache.
///
/// An instance belongs to one thread at a time.
class PlaneScaler {
 public:
  static constexpr uint32_t kMaxSize = 65536;

  PlaneScaler() = default;
  PlaneScaler(PlaneScaler&&) noexcept = default;
  PlaneScaler& operator=(PlaneScaler&&) noexcept = default;

  /// Builds filters and scratch. Sizes are in pixels, 1 to kMaxSize each, those of the target as it lies
  /// after the turn; `interleaved` is 1, or 2 where two components lie side by side (U and V). False when
  /// memory fails or an argument is out of range: run() must not be called then.
  bool configure(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight,
                 uint32_t interleaved = 1, Orientation wanted = {});

  /// Scales one plane; allocates nothing. Strides are bytes and may be negative. Reads and writes only the
  /// rows' own bytes. The planes must not overlap.
  void run(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride);

 private:
  bool allocateScratch();
  size_t rowBytes() const { return static_cast<size_t>(horizontal.dstSize()) * components; }
  void runTransposed(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride);
  // Rows [first, end) of the scaled picture, before a transposition.
  void scaleRows(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride, uint32_t first,
                 uint32_t end);
  void scaleRowsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                      uint32_t first, uint32_t end);
  void scaleColumnsFirst(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                         uint32_t first, uint32_t end);
  const int16_t* lineOf(const uint8_t* src, ptrdiff_t srcStride, uint32_t row);

  const KernelTable* table = nullptr;
  uint32_t components = 1;
  Orientation orientation;
  bool sameSize = false;
  FilterBank horizontal;
  FilterBank vertical;
  GatherPlan gather;
  AlignedBuffer
      lineMemory;  ///< ring of source rows scaled in width, one slot a tap; one line if columns come first
  uint32_t ringRow[FilterBank::kMaxShortTaps] = {};  ///< the row that a slot holds
  size_t lineSamples = 0;
  AlignedBuffer band;  ///< scaled rows that wait to become columns
  size_t bandStride = 0;
};

}  // namespace qvs::ucc

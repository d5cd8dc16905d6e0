#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::intrinsic {

/// The inner loops; widths may be any, and only the bytes named are touched.
struct ScalerKernels {
  /// Six rows of `width` samples into one row of samples with kKeptBits of fraction.
  void (*halveRows)(const uint8_t* const rows[6], int16_t* kept, size_t width);

  /// A row of 2 x `width` kept samples, with kTapMargin more at either end, into `width` samples.
  void (*halveColumns)(const int16_t* kept, uint8_t* target, size_t width);

  /// Blends `width` pixels' Y into luma.
  void (*blendLuma)(const uint8_t* vuya, uint8_t* luma, size_t width);

  /// Blends two rows of 2 x `width` pixels into `width` chroma samples, planar and in (U, V) pairs.
  void (*blendChroma)(const uint8_t* upper, const uint8_t* lower, uint8_t* u, uint8_t* v, size_t width);
  void (*blendChromaPairs)(const uint8_t* upper, const uint8_t* lower, uint8_t* uv, size_t width);
};

/// The kernels of this processor; the plain C forms where `vector` is false. All forms give equal results.
ScalerKernels scalerKernels(bool vector);

}  // namespace qvs::intrinsic

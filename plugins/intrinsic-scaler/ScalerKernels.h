#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::intrinsic {

/// Half-size filter: six taps, symmetric, centred between the two middle samples. Fitted to a three-lobed
/// Lanczos window on camera pictures, which it meets at 52 dB and more where the Catmull-Rom cubic stays
/// at 44.
inline constexpr int kOuterTap = -11;
inline constexpr int kMiddleTap = 18;
inline constexpr int kInnerTap = 57;
inline constexpr int kTapBits = 7;       // the six taps sum to 1 << kTapBits
inline constexpr int kKeptBits = 6;      // fraction of a sample between the two passes
inline constexpr size_t kTapMargin = 2;  // samples that the filter reaches beyond a row, at either end

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

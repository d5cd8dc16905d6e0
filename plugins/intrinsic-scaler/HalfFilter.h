#pragma once

#include <cstddef>

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

}  // namespace qvs::intrinsic

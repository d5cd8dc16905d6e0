#pragma once

#include <cstdint>
#include <numeric>

namespace qvs::mc {

/// What a sequence header tells. A part that isn't told is 0.
struct SequenceInfo {
  int32_t width = 0;   ///< cropped, pixels
  int32_t height = 0;  ///< cropped, rows
  int32_t pixelAspectWidth = 0;
  int32_t pixelAspectHeight = 0;
  int32_t rateNumerator = 0;  ///< frames a second
  int32_t rateDenominator = 0;
  int32_t reorder = 0;     ///< pictures that may have to wait, where the codec's library can't tell
  int32_t aspectCode = 0;  ///< MPEG-1/2: aspect_ratio_information

  bool operator==(const SequenceInfo&) const = default;

  /// The simplest form of both ratios, so that equal ones compare so; what is no ratio becomes 0 over 0.
  void simplify() {
    simplify(pixelAspectWidth, pixelAspectHeight);
    simplify(rateNumerator, rateDenominator);
  }

 private:
  static void simplify(int32_t& above, int32_t& below) {
    const bool told = above > 0 && below > 0;
    const int32_t divisor = told ? std::gcd(above, below) : 1;
    above = told ? above / divisor : 0;
    below = told ? below / divisor : 0;
  }
};

}  // namespace qvs::mc

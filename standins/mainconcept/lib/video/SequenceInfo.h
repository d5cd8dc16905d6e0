#pragma once

#include <cstdint>

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
};

}  // namespace qvs::mc

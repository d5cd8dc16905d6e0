// What a picture leaves unsaid about its color, filled in from the other picture.
#include "ucc/Color.h"

namespace qvs::ucc {
namespace {

constexpr uint32_t kMatrixBt470Bg = 5;  // same coefficients as BT.601

// 0 for what the picture doesn't say.
uint32_t statedMatrix(const PixelFormat& format, const ucc_colorimetry_t& colorimetry) {
  if (format.form.family == Family::kRgb) return 0;
  switch (colorimetry.matrix_coefficients) {
    case MATRIX_COEFFICIENTS_BT601_6:
    case kMatrixBt470Bg:
      return MATRIX_COEFFICIENTS_BT601_6;
    case 0:
    case MATRIX_COEFFICIENTS_UNSPECIFIED:
      return 0;
    default:
      return MATRIX_COEFFICIENTS_BT709_6;
  }
}

uint32_t statedRange(const PixelFormat& format, const ucc_colorimetry_t& colorimetry) {
  const bool known =
      colorimetry.signal_range == PIC_SIGNAL_RANGE_SHORT || colorimetry.signal_range == PIC_SIGNAL_RANGE_FULL;
  if (known) return colorimetry.signal_range;
  return format.form.family == Family::kRgb ? PIC_SIGNAL_RANGE_FULL : PIC_SIGNAL_RANGE_UNSPECIFIED;
}

// RGB has no matrix of its own, so it always takes the other picture's.
uint32_t firstSaid(uint32_t own, uint32_t other, uint32_t otherwise) {
  return own ? own : other ? other : otherwise;
}

}  // namespace

ColorPair resolveColors(const PixelFormat& targetFormat, const ucc_colorimetry_t& target,
                        const PixelFormat& sourceFormat, const ucc_colorimetry_t& source) {
  const uint32_t matrix[2] = {statedMatrix(targetFormat, target), statedMatrix(sourceFormat, source)};
  const uint32_t range[2] = {statedRange(targetFormat, target), statedRange(sourceFormat, source)};
  const auto colorOf = [&](int self) {
    return Color{firstSaid(matrix[self], matrix[1 - self], MATRIX_COEFFICIENTS_BT709_6),
                 firstSaid(range[self], range[1 - self], PIC_SIGNAL_RANGE_FULL) == PIC_SIGNAL_RANGE_FULL};
  };
  return {colorOf(0), colorOf(1)};
}

}  // namespace qvs::ucc

// Color description numbers, checked and derived from the size where none is given.
#include "avc/AvcColor.h"

#include <iterator>

namespace qvs::mc {

namespace {

constexpr int32_t kUnspecified = 2;
constexpr int32_t kNarrow = 1;
constexpr int32_t kFull = 2;
constexpr int32_t kAutomatic = 0;  // no code point of its own: left to the picture's size

// By description, from 0 on.
constexpr mc_colorimetry_t kDescriptions[] = {
    {kUnspecified, kUnspecified, kUnspecified, 0},
    {kUnspecified, kUnspecified, kUnspecified, 0},
    {5, 6, 5, kNarrow},
    {6, 6, 6, kNarrow},
    {1, 1, 1, kNarrow},
    {7, 7, 7, kNarrow},
    {9, 14, 9, kNarrow},
    {9, 15, 9, kNarrow},
    {9, 16, 9, kNarrow},
    {9, 18, 9, kNarrow},
};

bool repair(int32_t& codePoint, int32_t last) {
  if (codePoint >= 0 && codePoint <= last && codePoint != 3) return false;
  codePoint = kUnspecified;
  return true;
}

int32_t descriptionOfSize(int32_t height) {
  if (height >= 720) return COLOR_DESCRIPTION_BT709;
  return height == 576 || height == 288 ? COLOR_DESCRIPTION_BT601_625 : COLOR_DESCRIPTION_BT601_525;
}

}  // namespace

bool colorimetryOf(int32_t description, mc_colorimetry_t& colorimetry) {
  if (description == COLOR_DESCRIPTION_AUTO) {
    colorimetry = {kAutomatic, kAutomatic, kAutomatic, 0};
    return true;
  }
  const bool known = description >= 0 && description < static_cast<int32_t>(std::size(kDescriptions));
  colorimetry = kDescriptions[known ? description : COLOR_DESCRIPTION_UNSPECIFIED];
  return known;
}

bool repairColorimetry(mc_colorimetry_t& colorimetry) {
  bool changed = repair(colorimetry.color_primaries, 12);
  changed = repair(colorimetry.transfer_characteristics, 18) || changed;
  changed = repair(colorimetry.matrix_coefficients, 14) || changed;
  if (colorimetry.signal_range >= 0 && colorimetry.signal_range <= kFull) return changed;
  colorimetry.signal_range = 0;
  return true;
}

void storeColorimetry(x264_param_t& x264, const h264_v_settings& settings) {
  const mc_colorimetry_t& own = kDescriptions[descriptionOfSize(settings.def_vertical_size)];
  const mc_colorimetry_t& told = settings.colorimetry;
  const auto either = [](int32_t value, int32_t automatic) {
    return value != kAutomatic ? value : automatic;
  };
  x264.vui.i_colorprim = either(told.color_primaries, own.color_primaries);
  x264.vui.i_transfer = either(told.transfer_characteristics, own.transfer_characteristics);
  x264.vui.i_colmatrix = either(told.matrix_coefficients, own.matrix_coefficients);
  x264.vui.b_fullrange = told.signal_range == kFull;
}

}  // namespace qvs::mc

#pragma once

#include "ucc/PixelFormat.h"

namespace qvs::ucc {

/// How samples mean color, with nothing left unsaid. RGB takes the matrix of the picture it is converted to
/// or from.
struct Color {
  uint32_t matrix;  ///< ucc_matrix_coefficients_e: BT.709 or BT.601
  bool fullRange;

  bool operator==(const Color&) const = default;
};

struct ColorPair {
  Color target;
  Color source;
};

/// Fills what either picture leaves unsaid: the matrix from the other picture, else BT.709; the range of RGB
/// full, that of YUV from the other picture.
ColorPair resolveColors(const PixelFormat& targetFormat, const ucc_colorimetry_t& target,
                        const PixelFormat& sourceFormat, const ucc_colorimetry_t& source);

}  // namespace qvs::ucc

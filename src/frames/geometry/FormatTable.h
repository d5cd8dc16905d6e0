#pragma once

#include <cstddef>
#include <cstdint>

#include "mc_frame.h"

namespace qvs {

/// How the planes of a format lie in memory.
enum class PlaneFamily : uint8_t {
  kPacked,
  kPlanar420,
  kImc,  ///< planar 4:2:0 whose chroma begins at a multiple of 16 rows
  kTwoPlane420,
  kPlanar422,
  kTwoPlane422,
  kPlanar444,
  kTwoPlane444,
  kPlanarAlpha,
  kPlanar410,
  kPlanar411,
  kPlanar211,
};

/// A format: what its pixels are and how they lie.
struct FormatRow {
  mc_color_space_base_info_t info;
  PlaneFamily family;
  uint8_t bytesPerSample;  ///< of a planar format's sample; of packed formats see `packedRowBytes`
};

/// All picture formats that the system can name.
class FormatTable {
 public:
  /// The first row with this code, null where there is none.
  static const FormatRow* find(uint32_t fourcc);

  static const FormatRow* begin();
  static size_t size();
};

/// Bytes of one row of a packed format, `width` in pixels.
uint64_t packedRowBytes(const FormatRow& row, uint32_t width);

}  // namespace qvs

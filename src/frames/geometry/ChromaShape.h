#pragma once

#include <cstdint>

#include "frames/geometry/FourCC.h"

namespace qvs {

/// The chroma planes of an 8-bit YUV format with half-width chroma.
struct ChromaShape {
  uint32_t fourcc;
  bool halfHeight;
  uint8_t bytes;  ///< of one position: 2 where U and V lie side by side
};

inline constexpr ChromaShape kChromaShapes[] = {
    {kFourCCYV12, true, 1}, {kFourCCI420, true, 1},  {kFourCCIYUV, true, 1},  {kFourCCNV12, true, 2},
    {kFourCCNV21, true, 2}, {kFourCCYV16, false, 1}, {kFourCCI422, false, 1},
};

/// Null for any other format.
constexpr const ChromaShape* findChromaShape(uint32_t fourccCode) {
  for (const ChromaShape& shape : kChromaShapes) {
    if (shape.fourcc == fourccCode) return &shape;
  }
  return nullptr;
}

}  // namespace qvs

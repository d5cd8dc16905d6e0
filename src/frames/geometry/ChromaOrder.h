#pragma once

#include <cstdint>

#include "frames/geometry/FourCC.h"

namespace qvs {

/// Which plane of a three-plane YUV picture holds U and which V. The label decides: "YV12" and "YV16" lie in
/// memory as Y, V, U; every other format as Y, U, V.
struct ChromaOrder {
  uint32_t u;
  uint32_t v;
};

constexpr ChromaOrder chromaOrder(uint32_t fourccCode) {
  const bool vFirst = fourccCode == kFourCCYV12 || fourccCode == kFourCCYV16;
  return vFirst ? ChromaOrder{2, 1} : ChromaOrder{1, 2};
}

}  // namespace qvs

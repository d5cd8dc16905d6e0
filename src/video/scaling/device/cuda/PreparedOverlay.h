#pragma once

#include "video/scaling/device/cuda/VideoScaleBufferDataCUDA.h"

namespace qvs {

/// An overlay as it is blended: its color multiplied by its alpha, and its alpha inverted, at luma and at chroma
/// size. Made once; a picture then takes one kernel.
struct PreparedOverlay {
  DeviceMemory y, u, v;
  DeviceMemory clear, clearHalf;  ///< how much of the picture shows through
  int step = 0;                   ///< bytes from row to row of what has full size
  int halfStep = 0;
  int width = 0;  ///< even
  int height = 0;

  bool isMade() const { return clearHalf != nullptr; }
};

}  // namespace qvs

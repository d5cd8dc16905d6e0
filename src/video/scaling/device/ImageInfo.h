#pragma once

#include <cstddef>
#include <cstdint>

#include "contract/FrameTypes.h"
#include "video/scaling/device/cuda/VideoScaleBufferDataCUDA.h"

namespace qvs {

/// A part of a picture, in pixels.
struct RegionOfInterest {
  size_t x = 0;
  size_t y = 0;
  size_t width = 0;
  size_t height = 0;
};

/// A picture in a device's memory, as image operations take and give it. Borrowed memory has a deleter that
/// does nothing.
struct ImageInfo {
  DeviceMemory data;  ///< empty: no picture
  size_t width = 0;
  size_t height = 0;
  size_t stride = 0;  ///< bytes
  RegionOfInterest roi;
  VideoBufferLocation loc = VideoBufferLocation::unknown;
  uint32_t fourCC = 0;
};

}  // namespace qvs

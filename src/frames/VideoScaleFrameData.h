#pragma once

#include "video/scaling/device/cuda/PreparedOverlay.h"
#include "video/scaling/device/cuda/VideoScaleBufferDataCUDA.h"

namespace qvs {

/// Device storage of a frame: a planar 4:2:0 picture in the order Y, U, V whose chroma stride is half the
/// luma stride, and what its transfers need.
struct VideoScaleFrameDataCUDA {
  VideoScaleBufferDataCUDA buffer;       ///< the picture
  VideoScaleBufferDataCUDA scaleTmp;     ///< work space
  VideoScaleBufferDataCUDA transferTmp;  ///< the host's layout on the device
};

struct VideoScaleFrameDataVAAPI {
  void* vaImage = nullptr;
};

/// An overlay on a device, at the size in which it is drawn.
struct VideoScaleOverlayDataCUDA {
  PreparedOverlay image;
  uint32_t width = 0;  ///< for which it was made; `image` may be smaller by a column and a row
  uint32_t height = 0;
};

struct VideoScaleOverlayDataVAAPI {
  void* vaImage = nullptr;
};

}  // namespace qvs

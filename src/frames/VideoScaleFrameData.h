#pragma once

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

/// Device storage of an overlay, at the size in which it is drawn.
struct VideoScaleOverlayDataCUDA {
  VideoScaleBufferDataCUDA buffer;
};

struct VideoScaleOverlayDataVAAPI {
  void* vaImage = nullptr;
};

}  // namespace qvs

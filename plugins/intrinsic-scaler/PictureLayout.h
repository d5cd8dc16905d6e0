#pragma once

#include <cstddef>
#include <cstdint>

#include "qvs/video_scaler.h"

namespace qvs::intrinsic {

/// Where the planes of a 4:2:0 picture lie. Points into the picture.
struct PictureLayout {
  uint8_t* y;
  uint8_t* u;
  uint8_t* v;
  size_t chromaStride;  // bytes
  size_t chromaWidth;   // samples of U, as many of V
  size_t chromaHeight;  // rows
  size_t chromaStep;    // bytes from one sample to the next: 1 planar, 2 in pairs
};

/// False for a format other than 8-bit 4:2:0, a null plane, an empty size or a stride that can't hold a row.
bool layOut(const VideoFrameIntrinsicScalerFrame& frame, PictureLayout* layout);

/// Whether `frame` is a "VUYA" picture with a plane and a stride that holds its rows.
bool isOverlay(const VideoFrameIntrinsicScalerFrame& frame);

}  // namespace qvs::intrinsic

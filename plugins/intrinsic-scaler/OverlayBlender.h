#pragma once

#include <cstdint>

#include "PictureLayout.h"
#include "qvs/video_scaler.h"
#include "ScalerKernels.h"

namespace qvs::intrinsic {

/// Draws `overlay` on `target`, laid out as `layout`, with its top left pixel at the even place (x, y), and
/// cuts off what lies outside.
void blendOverlay(const ScalerKernels& kernels, int32_t x, int32_t y,
                  const VideoFrameIntrinsicScalerFrame& overlay, const VideoFrameIntrinsicScalerFrame& target,
                  const PictureLayout& layout);

}  // namespace qvs::intrinsic

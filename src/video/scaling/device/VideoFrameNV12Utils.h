#pragma once

#include <cstdint>

#include "mc_frame.h"

namespace qvs {

/// Planar 4:2:0 to NV12 and back, in host memory. Where the sizes differ the overlapping top left area is
/// copied. An odd last row or column has luma only.
///
/// The planar picture is labelled by its `four_cc`: "I420" and "IYUV" have U in plane 1, every other label
/// has U in plane 2 and V in plane 1. All operations give kFailure, and touch nothing, for a null plane or a
/// stride that isn't positive.
class VideoFrameNV12Utils {
 public:
  static uint32_t copyYV12toNV12(const mc_frame_t* source, const mc_frame_t* target);
  static uint32_t copyNV12toYV12(const mc_frame_t* source, const mc_frame_t* target);

  /// From two planes that share one stride into a "YV12" picture in one block: strides s, s/2, s/2 with
  /// s = `targetStride`, and planes at 0, s x h and s x h x 5/4 with h = `targetHeight`.
  static uint32_t copyNV12toYV12(const uint8_t* y, const uint8_t* uv, int32_t stride, uint32_t width,
                                 uint32_t height, uint8_t* target, int32_t targetStride, uint32_t targetWidth,
                                 uint32_t targetHeight);
};

}  // namespace qvs

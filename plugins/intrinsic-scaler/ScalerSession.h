#pragma once

#include <cstdint>

#include "PlaneHalver.h"
#include "qvs/video_scaler.h"
#include "ScalerKernels.h"

namespace qvs::intrinsic {

/// Results of the entry points. A refusal leaves the target untouched.
inline constexpr uint32_t kDone = 0;
inline constexpr uint32_t kRefused = 1;
inline constexpr uint32_t kOutOfMemory = 2;

/// One session of the plug-in: the kernels for this processor and the scratch that outlives a call.
class ScalerSession {
 public:
  explicit ScalerSession(const ScalerKernels& kernels = scalerKernels(true))
      : kernels(kernels), halver(kernels) {}

  /// Planar 4:2:0 to half its size.
  uint32_t scaleByHalf(const VideoFrameIntrinsicScalerFrame& source,
                       const VideoFrameIntrinsicScalerFrame& target);

  /// Blends a "VUYA" picture in place, its top left pixel at (x, y).
  uint32_t overlay(int32_t x, int32_t y, const VideoFrameIntrinsicScalerFrame& overlay,
                   const VideoFrameIntrinsicScalerFrame& target);

 private:
  ScalerKernels kernels;
  PlaneHalver halver;
};

}  // namespace qvs::intrinsic

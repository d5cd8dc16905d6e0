#pragma once

#include <array>
#include <cstdint>

#include "frames/geometry/FitPlacement.h"
#include "frames/VideoFrameBufferFractionalFrame.h"
#include "mc_frame.h"

namespace qvs {

class IntrinsicScalerSession;

/// Copies of a picture, each half the size of the one before. Their memory is kept from picture to picture.
class FractionalFrames {
 public:
  static constexpr uint32_t kLevelsMax = 4;

  void clear();

  /// Makes the copies that are larger than `smallest`, the smallest picture wanted, by an open session.
  void update(const frame_tt& picture, PixelSize smallest, IntrinsicScalerSession& scaler);

  /// A borrowed view. False, with `out` untouched, for a level that the last update didn't make.
  bool get(uint32_t index, frame_tt* out) const;

 private:
  static bool halve(const frame_tt& source, VideoFrameBufferFractionalFrame& level,
                    IntrinsicScalerSession& scaler);

  std::array<VideoFrameBufferFractionalFrame, kLevelsMax> levels;
};

}  // namespace qvs

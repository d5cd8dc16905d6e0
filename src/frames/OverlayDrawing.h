#pragma once

#include <cstdint>

#include "frames/geometry/OverlayPlacement.h"
#include "mc_frame.h"

namespace qvs {

class ILogger;
class IntrinsicScalerSession;
class VideoOverlayFrame;

/// A picture in host memory that overlays are drawn on, and what may draw them. All borrowed.
struct OverlayTarget {
  const frame_tt& picture;
  IntrinsicScalerSession* plugin;  ///< null: overlays are drawn by the converter
  ILogger* logger;                 ///< null: the process-wide one
};

/// Where an overlay goes on a picture of this size; it doesn't fit where it has no area, too.
OverlayPlacement placementOf(const VideoOverlayFrame& overlay, PixelSize picture);

/// Whether an overlay's bytes cover it; where not, it is left out and told once.
bool isCovered(VideoOverlayFrame& overlay, ILogger* logger);

/// Draws an overlay that fits, in place. 1 where its geometry, or the picture's, is refused; kFailure without
/// a converter. One that isn't covered is left out.
uint32_t drawOverlay(VideoOverlayFrame& overlay, const OverlayPlacement& placement,
                     const OverlayTarget& target);

}  // namespace qvs

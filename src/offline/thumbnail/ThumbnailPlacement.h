#pragma once

#include <cstdint>
#include <optional>

#include "frames/geometry/FitPlacement.h"

namespace qvs {

struct ThumbnailerRequestData;

/// How a picture comes into the size wanted; any other number stretches.
enum ThumbnailFit : int32_t {
  kThumbnailFitInside = 1,    ///< black bars
  kThumbnailFitWidth = 2,     ///< the height follows
  kThumbnailFitHeight = 3,    ///< the width follows
  kThumbnailFitFill = 4,      ///< what stands over is cut off
  kThumbnailFitOriginal = 6,  ///< the picture's own size
};

/// A still picture's size, and which part of the decoded picture goes into which part of it.
struct ThumbnailPlacement {
  PixelSize size;
  PixelRect source;  ///< in force when `hasSource`
  PixelRect target;  ///< in force when `hasTarget`; the rest is black
  bool hasSource = false;
  bool hasTarget = false;
};

/// Nothing where the crop leaves no picture or reaches outside of it, or where no such size can be made.
std::optional<ThumbnailPlacement> placeThumbnail(PixelSize frame, const ThumbnailerRequestData& request);

}  // namespace qvs

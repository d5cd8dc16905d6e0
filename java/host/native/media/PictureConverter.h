#pragma once

#include "media/AvHandles.h"

#include <optional>

namespace qvs::host {

/// Matrix (as ITU-T H.273 counts) and range of pictures.
struct PictureColors {
  AVColorSpace matrix = AVCOL_SPC_BT709;
  bool fullRange = false;
};

/// Brings decoded pictures of any form to 8-bit 4:2:0: more bits are rounded to the nearest, RGB and grey get the
/// matrix and the range that is asked for, what is transparent lies over black. Pictures of fields keep these apart.
class PictureConverter {
 public:
  void setColors(PictureColors colors) { colors_ = colors; }

  /// The picture itself where it has that form already, else one that is good until the next call; null where it
  /// cannot be converted or memory is short.
  const AVFrame* convert(const AVFrame& picture);

 private:
  /// What a scaler was made for.
  struct Plan {
    int width, height, from, to;
    bool fromFull, toFull;
    bool operator==(const Plan&) const = default;
  };
  struct Step {
    SwsPtr scaler;
    std::optional<Plan> plan;
    AvFramePtr made;
  };

  const AVFrame* flatten(const AVFrame& picture);
  bool run(Step& step, const AVFrame& picture, AVPixelFormat to, bool fromFull, bool toFull);
  bool prepare(Step& step, const Plan& plan) const;
  AVFrame* room(Step& step, const AVFrame& like, AVPixelFormat format) const;
  bool isFull(const AVFrame& picture) const;

  PictureColors colors_;
  Step opaque_;
  Step target_;
};

}  // namespace qvs::host

#pragma once

#include "OverlayCanvas.h"

namespace qvs::ucc {

/// Blends an overlay into a picture in place. Only the overlay's rectangle is touched, rounded out to whole
/// pixel groups of packed formats, whose pixels outside it keep their values.
class OverlayPainter {
 public:
  /// False when memory fails; the target is then untouched.
  bool paint(const OverlayTask& task, const ucc_frame_t& target, const ucc_overlay_config_t& overlay);

 private:
  /// Pixels, end exclusive.
  struct Box {
    int64_t left;
    int64_t top;
    int64_t right;
    int64_t bottom;
  };

  void paintPlanes(const ucc_frame_t& target, const PixelFormat& format) const;
  bool paintGroups(const ucc_frame_t& target, const PixelFormat& format);
  void blendInto(const PlaneView& plane, int component, int64_t originX, int64_t originY) const;

  OverlayCanvas canvas_;
  PlanarPicture region_;
  WorkingForm form_{};
  Box place_{};  ///< of the canvas in the target
  Box clip_{};   ///< the part of it that the target shows
};

}  // namespace qvs::ucc

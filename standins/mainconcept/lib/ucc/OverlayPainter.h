#pragma once

#include "ucc/OverlayCanvas.h"

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

  /// The part of a plane that the overlay covers.
  struct Window {
    uint8_t* under;
    PlaneView over;
    PlaneView alpha;
    uint32_t width;
    uint32_t height;
  };

  /// Straight onto the target's planes: 8-bit planar and two-plane formats.
  void paintPlanes(const ucc_frame_t& target, const PixelFormat& format) const;
  /// By way of plain samples: unpacks the rectangle, blends, packs it again. False when memory fails.
  bool paintGroups(const ucc_frame_t& target, const PixelFormat& format);
  Window windowOf(const PlaneView& plane, int component, int64_t originX, int64_t originY,
                  int64_t sampleBytes) const;
  void blendInto(const PlaneView& plane, int component, int64_t originX, int64_t originY) const;
  void blendPairsInto(const PlaneView& plane, int first, int second) const;

  OverlayCanvas canvas;
  PlanarPicture region;
  WorkingForm form{};
  Box place{};  ///< of the canvas in the target
  Box clip{};   ///< the part of it that the target shows
};

}  // namespace qvs::ucc

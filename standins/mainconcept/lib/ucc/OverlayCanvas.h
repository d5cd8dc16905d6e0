#pragma once

#include "ucc/PlanarConversion.h"

namespace qvs::ucc {

/// The formats and colors that an overlay passes between.
struct OverlayTask {
  const PixelFormat* target;
  const PixelFormat* overlay;
  Color targetColor;
  Color overlayColor;

  bool operator==(const OverlayTask&) const = default;
};

/// An overlay ready to be blended: planes in the target's own form and color, alpha at luma and at chroma
/// size. It starts on a whole chroma sample of the target, so up to three columns and rows around the overlay
/// are wholly transparent.
class OverlayCanvas {
 public:
  struct Shape {
    OverlayTask task;
    uint32_t sourceWidth;
    uint32_t sourceHeight;
    uint32_t width;
    uint32_t height;
    uint32_t phaseX;  ///< pixels from the canvas's left edge to the overlay's
    uint32_t phaseY;

    bool operator==(const Shape&) const = default;
  };

  /// Does nothing when the shape and the content, other than 0, are those of the last call. False when memory
  /// fails.
  bool make(const Shape& wanted, const ucc_overlay_config_t& overlay);

  uint32_t width() const { return planes.paddedWidth(); }
  uint32_t height() const { return planes.paddedHeight(); }
  const PlaneView& plane(int component) const { return planes.plane(component); }
  /// Alpha at the size of a component's plane.
  const PlaneView& alphaOf(int component) const { return alphas.plane(component == 0 ? 0 : 1); }

 private:
  /// Sizes everything and plans the conversion; the pixels are still to come.
  bool reshape(const Shape& wanted);
  void fill();
  void fillAlpha();
  void averageAlpha();
  // T is the sample type of the target's form.
  template <class T>
  void fillPlanes();
  template <class T>
  void placeComponent(int component);
  template <class T>
  void averageComponent(int component);

  bool shaped = false;
  bool filled = false;  ///< false after a failure too, so that the next call starts over
  Shape shape{};
  uint64_t contentId = 0;
  PlanarConversion conversion;  ///< to the target's family, depth and color at full chroma
  PlanarPicture planes;
  PlanarPicture alphas;  ///< components 0 and 1 are in use
};

}  // namespace qvs::ucc

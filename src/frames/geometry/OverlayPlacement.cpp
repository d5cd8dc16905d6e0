// Where an overlay lies in a picture, from its alignment and offsets.
#include "frames/geometry/OverlayPlacement.h"

namespace qvs {
namespace {

struct Axis {
  int64_t position;
  int64_t inset;
  int64_t clamped;
};

/// One direction: `middle` and `far` say at what the offset counts.
Axis placeAxis(int64_t picture, int64_t overlay, int64_t offset, bool middle, bool far) {
  Axis axis{offset, offset, 0};
  if (middle) {
    axis.position += picture / 2 - overlay / 2;
    axis.inset = axis.position;
  } else if (far) {
    axis.position += picture - overlay;
    axis.inset = axis.position - 2 * offset;
  }
  axis.clamped = axis.position;
  if (axis.position + overlay - 1 >= picture) {
    axis.clamped = picture - overlay;
  } else if (axis.position < 0) {
    axis.clamped = 0;
  }
  return axis;
}

}  // namespace

OverlayPlacement placeOverlay(PixelSize picture, const OverlayRequest& request) {
  const Axis x = placeAxis(picture.width, request.size.width, request.x, (request.align & kAlignCenter) != 0,
                           (request.align & kAlignRight) != 0);
  const Axis y = placeAxis(picture.height, request.size.height, request.y,
                           (request.align & kAlignMiddle) != 0, (request.align & kAlignBottom) != 0);
  OverlayPlacement placement{x.position,
                             y.position,
                             x.inset,
                             y.inset,
                             {x.clamped, y.clamped, request.size.width, request.size.height},
                             false};
  placement.fits = x.clamped >= 0 && y.clamped >= 0 && x.clamped + request.size.width <= picture.width &&
                   y.clamped + request.size.height <= picture.height;
  return placement;
}

}  // namespace qvs

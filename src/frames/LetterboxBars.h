#pragma once

#include "frames/geometry/FitPlacement.h"

namespace qvs {

/// Remembers for which source the letterbox bars of a target were painted.
class LetterboxBars {
 public:
  /// Whether they have to be painted for a source that shows at this size; takes note that they are.
  bool takeDue(PixelSize display, bool force) {
    const bool due = force || display != painted;
    painted = display;
    return due;
  }
  /// Something lies over them.
  void forget() { painted = {}; }

 private:
  PixelSize painted;
};

}  // namespace qvs

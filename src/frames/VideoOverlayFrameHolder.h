#pragma once

#include "frames/VideoOverlayFrame.h"

namespace qvs {

/// A slot of the overlay map.
struct VideoOverlayFrameHolder {
  VideoOverlayFrame* frame = nullptr;  ///< owned, until `deleteFrame`

  void deleteFrame() {
    delete frame;
    frame = nullptr;
  }
};

}  // namespace qvs

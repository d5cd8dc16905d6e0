#pragma once

#include <vpx/vpx_image.h>

namespace qvs {

class VideoFrameBuffer;

/// Moves a libvpx picture into a frame.
class VPXImageCopy {
 public:
  /// Copies the planes of a 4:2:0 `image`; the target's fourCC says which of its planes is which. Chroma
  /// sizes are rounded down. Never reads past the image or writes past the target; where sizes differ the
  /// common top left part is copied. Nothing is copied where either side has no planes. False for a target
  /// that is not 4:2:0.
  static bool copy(const vpx_image_t& image, VideoFrameBuffer& target);
};

}  // namespace qvs

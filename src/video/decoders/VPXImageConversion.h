#pragma once

#include <vpx/vpx_image.h>

#include <cstdint>
#include <vector>

namespace qvs {

class VideoFrameBuffer;

/// Writes libvpx pictures of other depths and chroma shapes, RGB ones among them, into frames of 8-bit 4:2:0.
class VPXImageConversion {
 public:
  /// Planar pictures of 8 to 16 bits with chroma of full or half size.
  static bool takes(const vpx_image_t& image);

  /// Fills the target as VPXImageCopy does, rounding to the nearest; see SampleRows for how. RGB keeps its
  /// range and gets the matrix that a picture of its height is taken to have: BT.709 from 720 rows on, else
  /// BT.601. False for a target that is not 4:2:0.
  bool convert(const vpx_image_t& image, VideoFrameBuffer& target);

 private:
  std::vector<uint8_t> chromaRows;  ///< U and V of one row, for paired chroma
};

}  // namespace qvs

#pragma once

#include <cstdint>
#include <vector>

#include "mc_frame.h"
#include "video/AvPointers.h"

namespace qvs::mc {

/// Writes decoded pictures into frames of 8-bit 4:2:0: "YV12", "I420", "IYUV" or "NV12". Pictures of other
/// planar forms, RGB and grey ones among them, are converted on the way; see SampleRows for how.
class PictureWriter {
 public:
  /// Where sizes differ the common top left part is written, never more than the target has. False for a
  /// picture or a target of another form.
  bool write(const AVFrame& picture, const mc_frame_t& target);

 private:
  std::vector<uint8_t> chromaRow;  ///< for "NV12"
};

}  // namespace qvs::mc

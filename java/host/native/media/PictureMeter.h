#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qvs::host {

/// How far a picture is from another one, over its planes Y, U and V in proportion to their samples.
struct PictureDistance {
  double squaredError = 0;  ///< mean over all samples
  double similarity = 0;    ///< SSIM over windows of 8x8, 4 apart
};

/// Decodes coded pictures of an encoder and measures them against the pictures that went into it.
class PictureMeter {
 public:
  /// `units` says that packets are units behind lengths of four bytes.
  MediaStatus open(const std::string& codecName, bool units);
  /// Takes a packet; one without bytes ends the run: what was held back can be received.
  MediaStatus send(std::span<const uint8_t> packet, int64_t time);
  /// Moves to the next decoded picture, in the order of showing; false where there is none yet.
  bool receive();
  /// Of the picture received.
  int64_t time() const { return frame_->pts; }
  /// Against planes Y, U and V, rows without padding, chroma sizes rounded down; false where that picture has another
  /// size, or the one received isn't 8-bit 4:2:0.
  bool measure(std::span<const uint8_t> planes, int width, int height, PictureDistance* result) const;

 private:
  AvCodecPtr decoder_;
  AvPacketPtr packet_;
  AvFramePtr frame_;
  bool units_ = false;
};

}  // namespace qvs::host

#pragma once

#include <cstdint>

namespace qvs {

/// Counters of a capture decoder.
struct TranscoderVideoDecoderCaptureInfo {
  uint64_t droppedFrames = 0;
  uint64_t frameCountTotal = 0;
  uint32_t frameWidth = 0;
  uint32_t frameSyncCount = 0;
  uint32_t frameHeight = 0;
  uint64_t lastTimecode = 0;
  uint64_t lastFrameIndex = 0;
  uint64_t lastKeyTimecode = 0;
};

}  // namespace qvs

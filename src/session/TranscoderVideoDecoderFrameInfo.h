#pragma once

#include <array>
#include <cstdint>

#include "frames/VideoFrameBuffer.h"

namespace qvs {

/// What one decode step tells of its picture.
struct TranscoderVideoDecoderFrameInfo {
  static constexpr uint32_t kTimecodeInfoMax = 12;

  uint32_t frameWidth = 0;
  uint32_t frameHeight = 0;
  uint32_t displayWidth = 0;
  uint32_t displayHeight = 0;
  uint64_t frameCount = 0;  ///< pictures that this session has decoded
  double frameRate = 0.0;   ///< frames per second; 0 unknown
  std::array<VideoFrameBufferTimecodeInfo, kTimecodeInfoMax> timecodeInfo{};
  uint32_t timecodeInfoCount = 0;
};

}  // namespace qvs

#pragma once

#include <cstdint>

namespace qvs {

/// What a capture device told about the picture.
struct VideoFrameBufferCaptureInfo {
  uint32_t captureVideoInput = 1;
  uint32_t captureAudioInput = 1;
  uint32_t captureFrameWidth = 0;
  uint32_t captureFrameHeight = 0;
  uint32_t captureTransformFrameWidth = 0;
  uint32_t captureTransformFrameHeight = 0;
  uint32_t captureFrameRateEnum = 30;
  uint32_t captureFrameRateDen = 1;
  uint32_t captureFrameRateDivisor = 1;
  uint8_t captureFrameProgressive = 1;
  uint8_t captureFrameClosedCaptions = 0;
};

}  // namespace qvs

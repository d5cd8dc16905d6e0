#pragma once

#include <vector>

#include "EncoderUnderTest.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "H264Playback.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderH264.h"

namespace qvs::test {

/// An encoder as a session sets it up, up to `applyParameters`.
class H264EncoderUnderTest : public EncoderUnderTest<VideoEncoderH264> {
 public:
  H264EncoderUnderTest(uint32_t width, uint32_t height, uint32_t bitrate = 2000000) {
    encoder.setSessionIndex(3);
    encoder.setDefaults(0, 0);
    encoder.setFrameSize(width, height);
    encoder.setFrameRate(25);
    encoder.setBitrate(bitrate);
  }

  /// Encodes the moving test picture, 40 ms apart from `start` on, and what is held back at the end.
  std::vector<EncodedUnit> encode(VideoFrameBuffer& frame, uint32_t count, uint64_t startMs = 0) {
    for (uint32_t number = 0; number < count; ++number) {
      paintTestPicture(frame, number);
      encoder.addFrame(frame, 0, startMs + number * 40);
    }
    set(VideoEncoderH264::kKeyFlush, 1);
    return take();
  }
};

}  // namespace qvs::test

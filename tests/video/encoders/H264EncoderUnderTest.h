#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "H264Playback.h"
#include "log/LogCollector.h"
#include "support/TestPicture.h"
#include "video/encoders/VideoEncoderH264.h"

namespace qvs::test {

/// An encoder as a session sets it up, up to `applyParameters`.
class H264EncoderUnderTest {
 public:
  H264EncoderUnderTest(uint32_t width, uint32_t height, uint32_t bitrate = 2000000) {
    encoder.setLogger(&log);
    encoder.setSessionIndex(3);
    encoder.setDefaults(0, 0);
    encoder.setFrameSize(width, height);
    encoder.setFrameRate(25);
    encoder.setBitrate(bitrate);
  }

  void set(uint32_t key, int64_t value) { encoder.setParameterValue(key, value); }

  uint32_t start() {
    encoder.applyParameters();
    return encoder.initialize();
  }

  int64_t get(uint32_t key) {
    int64_t value = -1;
    encoder.getParameterValue(key, &value);
    return value;
  }

  std::vector<H264Unit> take() {
    std::vector<VideoFrameEncoded> frames;
    encoder.getEncodedFrames(frames);
    std::vector<H264Unit> units;
    for (const VideoFrameEncoded& frame : frames) {
      units.push_back({{frame.getBuffer(), frame.getBuffer() + frame.getLen()},
                       frame.getTimecode(),
                       frame.getTimecodeOffset(),
                       frame.getFrameType()});
      std::free(frame.getBuffer());
    }
    return units;
  }

  /// Encodes the moving test picture, 40 ms apart from `start` on, and what is held back at the end.
  std::vector<H264Unit> encode(VideoFrameBuffer& frame, uint32_t count, uint64_t startMs = 0) {
    for (uint32_t number = 0; number < count; ++number) {
      paintTestPicture(frame, number);
      encoder.addFrame(frame, 0, startMs + number * 40);
    }
    set(VideoEncoderH264::kKeyFlush, 1);
    return take();
  }

  std::vector<std::string> logLines() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> lines;
    for (const LogStatement& statement : statements) lines.push_back(statement.str);
    return lines;
  }

  LogCollector log;
  VideoEncoderH264 encoder;
};

}  // namespace qvs::test

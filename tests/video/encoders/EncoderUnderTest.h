#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "log/LogCollector.h"
#include "support/EncodedUnit.h"
#include "video/encoders/IVideoEncoder.h"

namespace qvs::test {

/// An encoder with a log of its own.
template <typename Encoder>
class EncoderUnderTest {
 public:
  explicit EncoderUnderTest(std::unique_ptr<Encoder> made = std::make_unique<Encoder>())
      : owned(std::move(made)), encoder(*owned) {
    encoder.setLogger(&log);
  }

  void set(uint32_t key, int64_t value) { encoder.setParameterValue(key, value); }
  int64_t get(uint32_t key) {
    int64_t value = -1;
    encoder.getParameterValue(key, &value);
    return value;
  }

  uint32_t start() {
    encoder.applyParameters();
    return encoder.initialize();
  }

  std::vector<EncodedUnit> take() {
    std::vector<VideoFrameEncoded> frames;
    encoder.getEncodedFrames(frames);
    return takeUnits(frames);
  }

  std::vector<std::string> logLines() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> lines;
    for (const LogStatement& statement : statements) lines.push_back(statement.str);
    return lines;
  }

  LogCollector log;

 private:
  std::unique_ptr<Encoder> owned;

 public:
  Encoder& encoder;
};

}  // namespace qvs::test

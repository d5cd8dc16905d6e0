// What all video encoders share.
#include "video/encoders/VideoEncoderBase.h"

#include "log/LogGlobalLogger.h"

namespace qvs {

void VideoEncoderBase::setCodecAndVersion(uint32_t codecId, uint32_t version) {
  codec = codecId;
  codecVersion = version;
}

uint32_t VideoEncoderBase::skipFrame(VideoFrameBuffer&, uint32_t, uint64_t) {
  return 0;
}

// A frame in work may log.
void VideoEncoderBase::setLogger(ILogger* value) {
  finish();
  logger = value;
}

void VideoEncoderBase::setSessionIndex(uint32_t value) {
  finish();
  sessionIndex = value;
}

void VideoEncoderBase::setNativePath(char*) {}

ILogger* VideoEncoderBase::getLogger() const {
  return loggerOrGlobal(logger);
}

}  // namespace qvs

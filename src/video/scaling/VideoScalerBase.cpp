// What all scaler objects share.
#include "video/scaling/VideoScalerBase.h"

#include "log/LogGlobalLogger.h"

namespace qvs {

void VideoScalerBase::setScalerAndVersion(uint32_t scalerId, uint32_t version) {
  scaler = scalerId;
  scalerVersion = version;
}

void VideoScalerBase::setNativePath(char*) {}

ILogger* VideoScalerBase::getLogger() const {
  return loggerOrGlobal(logger);
}

}  // namespace qvs

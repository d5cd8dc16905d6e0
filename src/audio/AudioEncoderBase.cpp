#include "audio/AudioEncoderBase.h"

#include "log/LogGlobalLogger.h"

namespace qvs {

ILogger* AudioEncoderBase::getLogger() const {
  return loggerOrGlobal(logger);
}

void AudioEncoderBase::info(const std::string& text) const {
  getLogger()->info(kLogContextAudioEncoder, static_cast<int>(sessionIndex), text);
}

void AudioEncoderBase::warn(const std::string& text) const {
  getLogger()->warn(kLogContextAudioEncoder, static_cast<int>(sessionIndex), text);
}

void AudioEncoderBase::error(const std::string& text) const {
  getLogger()->error(kLogContextAudioEncoder, static_cast<int>(sessionIndex), text);
}

}  // namespace qvs

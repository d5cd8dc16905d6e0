// Making a resampler from its Java parameters.
#include "session/jni/Resamplers.h"

#include <cstdio>

#include "audio/AudioResampler.h"
#include "log/LogGlobalLogger.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/records/AudioRecords.h"

namespace qvs {

std::unique_ptr<AudioResampler> makeResampler(JNIEnv* env, const char* name, jobject resamplerParametersObj) {
  const LocalRef<jclass> cls = classOf(env, resamplerParametersObj);
  if (!cls) {
    std::printf("TranscoderSessionNative::%s: resamplerParametersCls\n", name);
    return nullptr;
  }
  const RecordFields fields(env, cls.get(), kResamplerParameters);
  if (!fields.complete()) {
    std::printf("TranscoderSessionNative::%s: fields\n", name);
    return nullptr;
  }
  JavaResamplerParameters parameters;
  fields.read(resamplerParametersObj, parameters);
  auto resampler = std::make_unique<AudioResampler>();
  resampler->setLogger(LogGlobalLogger::getLogger());
  resampler->setTargetSampleRate(parameters.sampleRate);
  resampler->setTargetChannels(parameters.channels);
  resampler->setTargetChannelMask(static_cast<uint32_t>(parameters.channelMaskDst));
  resampler->setSourceChannelMask(static_cast<uint32_t>(parameters.channelMaskSrc));
  return resampler;
}

}  // namespace qvs

#include "session/jni/Resamplers.h"

#include <cstdio>

#include "session/jni/NativeEntry.h"
#include "session/jni/Records.h"

namespace qvs {

jlong addResampler(JNIEnv* env, const char* name, jobject resamplerParametersObj) {
  const LocalRef<jclass> cls = classOf(env, resamplerParametersObj);
  if (!cls) {
    std::printf("TranscoderSessionNative::%s: resamplerParametersCls\n", name);
  } else if (!RecordFields(env, cls.get(), kResamplerParameters).complete()) {
    std::printf("TranscoderSessionNative::%s: fields\n", name);
  }
  return kEntryFailure;
}

}  // namespace qvs

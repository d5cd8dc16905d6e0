// The names of a stream, copied out of Java.
#include "session/jni/StreamContext.h"

#include <cstdio>

#include "session/jni/records/CommonRecords.h"

namespace qvs {

void setMediaStreamContext(JNIEnv* env, jobject object, MediaStreamContext* context) {
  if (object == nullptr || context == nullptr) return;
  const LocalRef<jclass> cls = classOf(env, object);
  const RecordFields fields(env, cls.get(), kStreamContext);
  for (size_t i = 0; !fields.complete() && i < kStreamContext.fields.size(); ++i) {
    if (fields.id(i) == nullptr) {
      std::printf("videoDecoderGetCaptureInfo:setMediaStreamContext: %s missing\n",
                  kStreamContext.fields[i].name);
    }
  }
  fields.read(object, *context);
}

}  // namespace qvs

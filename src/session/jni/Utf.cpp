// The scope that holds a Java string's characters.
#include "session/jni/Utf.h"

#include "session/jni/Lookup.h"

namespace qvs {

Utf::Utf(JNIEnv* env, jstring string)
    : env(env), string(string), text(string != nullptr ? env->GetStringUTFChars(string, nullptr) : nullptr) {
  if (string != nullptr && text == nullptr) clearFailure(env);
}

}  // namespace qvs

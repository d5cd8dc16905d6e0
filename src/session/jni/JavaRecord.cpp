// Reading and writing the fields that a record's table lists.
#include "session/jni/JavaRecord.h"

namespace qvs {

void FieldMover::write(jfieldID id, const char*, const std::string& value) const {
  const LocalRef<jstring> string(env, env->NewStringUTF(value.c_str()));
  if (!string) {
    clearFailure(env);
    return;
  }
  env->SetObjectField(object, id, string.get());
}

void FieldMover::read(jfieldID id, const char*, std::string& value) const {
  const LocalRef<jobject> string = objectField(env, object, id);
  const Utf text(env, static_cast<jstring>(string.get()));
  if (text.get() != nullptr) value = text.get();
}

}  // namespace qvs

#pragma once

#include <jni.h>

#include "session/jni/LocalRef.h"
#include "session/jni/Lookup.h"

namespace qvs {

/// Calls of methods without arguments; null or 0, and no exception pending, where one threw.
template <typename Ref = jobject>
LocalRef<Ref> callObject(JNIEnv* env, jobject object, jmethodID method) {
  LocalRef<Ref> result(env, static_cast<Ref>(env->CallObjectMethod(object, method)));
  if (clearFailure(env)) return {};
  return result;
}

inline jint callInt(JNIEnv* env, jobject object, jmethodID method) {
  const jint result = env->CallIntMethod(object, method);
  return clearFailure(env) ? 0 : result;
}

}  // namespace qvs

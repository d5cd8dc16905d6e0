#pragma once

#include <jni.h>

namespace qvs {

/// A class that stays loaded for the process's life, so that ids of its members hold: for tables that live as long.
inline jclass keepClass(JNIEnv* env, jclass cls) {
  return static_cast<jclass>(env->NewGlobalRef(cls));
}

}  // namespace qvs

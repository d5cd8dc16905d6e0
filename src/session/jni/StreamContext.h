#pragma once

#include <jni.h>

#include "session/MediaStreamContext.h"

namespace qvs {

/// Copies the names out of a Java object. Null fields and missing ones, which are told on standard output,
/// leave the name as it was. Does nothing without an object or a context.
void setMediaStreamContext(JNIEnv* env, jobject object, MediaStreamContext* context);

}  // namespace qvs

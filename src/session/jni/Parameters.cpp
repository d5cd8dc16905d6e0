// The Java array that carries a typed parameter.
#include "session/jni/Parameters.h"

namespace qvs {

ParameterArray::ParameterArray(JNIEnv* env, jobjectArray array)
    : env(env),
      array(array),
      cls(findClass(env, kParameterValue.className)),
      fields(env, cls.get(), kParameterValue),
      count(array != nullptr && fields.complete() ? env->GetArrayLength(array) : 0) {}

}  // namespace qvs

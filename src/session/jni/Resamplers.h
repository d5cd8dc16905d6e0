#pragma once

#include <jni.h>

namespace qvs {

/// Reads the parameters of a resampler for the entry `name`. -1 in every case: what is missing is told on
/// standard output, and no resampler is built in yet that could be made of them.
jlong addResampler(JNIEnv* env, const char* name, jobject resamplerParametersObj);

}  // namespace qvs

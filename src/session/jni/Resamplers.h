#pragma once

#include <jni.h>

#include <memory>

#include "log/FailureLog.h"

namespace qvs {

class AudioResampler;

inline constexpr Failure kNoResampler = {.reason = "The resampler's parameters lack a field"};

/// The resampler that `resamplerParametersObj` asks for, on behalf of the entry `name`. Null where the object
/// lacks something, which is told on standard output.
std::unique_ptr<AudioResampler> makeResampler(JNIEnv* env, const char* name, jobject resamplerParametersObj);

}  // namespace qvs

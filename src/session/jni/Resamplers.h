#pragma once

#include <jni.h>

#include <memory>

namespace qvs {

class AudioResampler;

/// The resampler that `resamplerParametersObj` asks for, on behalf of the entry `name`. Null where the object
/// lacks something, which is told on standard output.
std::unique_ptr<AudioResampler> makeResampler(JNIEnv* env, const char* name, jobject resamplerParametersObj);

}  // namespace qvs

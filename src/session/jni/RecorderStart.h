#pragma once

#include <jni.h>

namespace qvs {

/// Begins a recording of all native calls where QVS_RECORD names a file; QVS_RECORD_MIB bounds its size. Where none can
/// be begun a log line says why.
void startRecorderIfAsked(JNIEnv* env);

}  // namespace qvs

#pragma once

#include <jni.h>

#include <optional>

#include "session/jni/records/CommonRecords.h"

namespace qvs {

/// The number in a holder, nothing for a null object or one without the field.
std::optional<int64_t> readHolder(JNIEnv* env, jobject holder);

/// False for a null object or one without the field.
bool writeHolder(JNIEnv* env, jobject holder, int64_t value);
bool writeHolder(JNIEnv* env, jobject holder, const std::string& value);

}  // namespace qvs

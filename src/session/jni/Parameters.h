#pragma once

#include <jni.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "contract/ParameterType.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/records/CommonRecords.h"

namespace qvs {

/// Moves a Java array of typed parameters to and from one stage, which is any class with the parameter
/// operations.
class ParameterArray {
 public:
  ParameterArray(JNIEnv* env, jobjectArray array);

  /// Elements to serve; none where the array or a field is missing.
  jsize size() const { return count; }

  /// Where an array can't be served because its class lacks a field.
  void tellMissingField(TranscoderSession& session, const char* label) const {
    if (array != nullptr && !fields.complete()) session.fail(label, kMissingField);
  }

  /// Sends every value to the stage. What the stage answers and elements that hold nothing are passed over.
  template <typename Stage>
  void set(Stage& stage) const {
    for (jsize i = 0; i < count; ++i) {
      const LocalRef<jobject> element(env, env->GetObjectArrayElement(array, i));
      if (element) setElement(stage, element.get());
    }
  }

  /// Asks the stage for every key. Elements with an unknown key stay as they are.
  template <typename Stage>
  void get(Stage& stage) const {
    for (jsize i = 0; i < count; ++i) {
      const LocalRef<jobject> element(env, env->GetObjectArrayElement(array, i));
      if (element) getElement(stage, element.get());
    }
  }

 private:
  static constexpr Failure kMissingField = {.reason = "The class of parameters lacks a field"};

  template <typename Stage>
  void setElement(Stage& stage, jobject element) const {
    JavaParameterValue value;
    fields.read(element, value);
    switch (value.dataType) {
      case kParameterLong:
        stage.setParameterValue(value.settingIndex, value.lValue);
        break;
      case kParameterDouble:
        stage.setParameterValue(value.settingIndex, value.dValue);
        break;
      case kParameterLongArray:
        setList<int64_t>(stage, element, value.settingIndex);
        break;
      case kParameterDoubleArray:
        setList<double>(stage, element, value.settingIndex);
        break;
    }
  }

  template <typename Stage>
  void getElement(Stage& stage, jobject element) const {
    JavaParameterValue value;
    fields.read(element, value);
    uint32_t length = 0;
    // The type is the key's, whatever the host left in the element.
    value.dataType = stage.getParameterValueType(value.settingIndex, &length);
    switch (value.dataType) {
      case kParameterUnknown:
        return;
      case kParameterLong:
        stage.getParameterValue(value.settingIndex, &value.lValue);
        break;
      case kParameterDouble:
        stage.getParameterValue(value.settingIndex, &value.dValue);
        break;
      case kParameterLongArray:
        getList<int64_t>(stage, element, value.settingIndex, length);
        break;
      case kParameterDoubleArray:
        getList<double>(stage, element, value.settingIndex, length);
        break;
    }
    fields.write(element, value);
  }

  template <typename Value, typename Stage>
  void setList(Stage& stage, jobject element, uint32_t key) const {
    using Lists = JavaArrayOf<Value>;
    const LocalRef<jobject> field = objectField(env, element, listField<Value>());
    const auto list = static_cast<typename Lists::Array>(field.get());
    const jsize length = list != nullptr ? env->GetArrayLength(list) : 0;
    if (length == 0) return;
    std::vector<Value> values(static_cast<size_t>(length));
    Lists::get(env, list, length, values.data());
    stage.setParameterValue(key, values.data(), static_cast<uint32_t>(length));
  }

  template <typename Value, typename Stage>
  void getList(Stage& stage, jobject element, uint32_t key, uint32_t length) const {
    using Lists = JavaArrayOf<Value>;
    if (length == 0 || length > static_cast<uint32_t>(std::numeric_limits<jsize>::max())) return;
    const LocalRef<typename Lists::Array> list(env, Lists::make(env, static_cast<jsize>(length)));
    if (!list) {
      clearFailure(env);
      return;
    }
    std::vector<Value> values(length);
    uint32_t filled = length;
    stage.getParameterValue(key, values.data(), &filled);  // may give fewer than it promised
    Lists::set(env, list.get(), static_cast<jsize>(std::min(filled, length)), values.data());
    env->SetObjectField(element, listField<Value>(), list.get());
  }

  template <typename Value>
  jfieldID listField() const {
    if constexpr (std::is_same_v<Value, double>) return fields.id(kParameterValue.index("darValue"));
    return fields.id(kParameterValue.index("larValue"));
  }

  JNIEnv* env;
  jobjectArray array;
  LocalRef<jclass> cls;
  RecordFields<JavaParameterValue, kParameterValue.fields.size()> fields;
  jsize count = 0;
};

/// Sends the array to a stage, or says which one lacks: 0, or -1 where there is no stage for a usable array.
template <typename Stage>
jlong setParameters(JNIEnv* env, TranscoderSession& session, const char* label, jobjectArray array,
                    Stage* stage, const Failure& missing) {
  const ParameterArray parameters(env, array);
  parameters.tellMissingField(session, label);
  if (parameters.size() == 0) return 0;
  if (stage == nullptr) return failEntry(session, label, missing);
  parameters.set(*stage);
  return 0;
}

/// Fills the array from a stage; results alike.
template <typename Stage>
jlong getParameters(JNIEnv* env, TranscoderSession& session, const char* label, jobjectArray array,
                    Stage* stage, const Failure& missing) {
  const ParameterArray parameters(env, array);
  parameters.tellMissingField(session, label);
  if (parameters.size() == 0) return 0;
  if (stage == nullptr) return failEntry(session, label, missing);
  parameters.get(*stage);
  return 0;
}

}  // namespace qvs

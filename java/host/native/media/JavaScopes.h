#pragma once

#include <jni.h>

#include "media/MediaStatus.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qvs::host {

/// A Java string as UTF-8; empty for null. JNI's own UTF-8 differs for characters beyond the basic plane, so
/// file names are converted here.
inline std::string toString(JNIEnv* env, jstring text) {
  std::string out;
  const jchar* units = text ? env->GetStringChars(text, nullptr) : nullptr;
  if (!units) return out;
  const jsize length = env->GetStringLength(text);
  for (jsize i = 0; i < length; i++) {
    char32_t c = units[i];
    const bool pair =
        c >= 0xD800 && c < 0xDC00 && i + 1 < length && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000;
    if (pair) c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
    const int trailing = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr unsigned char kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLead[trailing] | (c >> (6 * trailing)));
    for (int shift = 6 * (trailing - 1); shift >= 0; shift -= 6)
      out += static_cast<char>(0x80 | ((c >> shift) & 0x3F));
  }
  env->ReleaseStringChars(text, units);
  return out;
}

/// A native object by the handle that Java keeps.
template <typename T>
T* object(jlong handle) {
  return reinterpret_cast<T*>(static_cast<intptr_t>(handle));
}

inline jlong handleOf(void* pointer) {
  return static_cast<jlong>(reinterpret_cast<intptr_t>(pointer));
}

/// Raises a MediaException for a failure; true when the caller may go on.
inline bool passed(JNIEnv* env, const MediaStatus& status) {
  if (status.ok()) return true;
  const jclass type = env->FindClass("com/zarvo/qvs/host/media/MediaException");
  if (type) env->ThrowNew(type, status.text().c_str());
  return false;
}

/// A copy of a byte array's elements; empty for null.
inline std::vector<uint8_t> toBytes(JNIEnv* env, jbyteArray array) {
  std::vector<uint8_t> out(array ? static_cast<size_t>(env->GetArrayLength(array)) : 0);
  if (!out.empty())
    env->GetByteArrayRegion(array, 0, static_cast<jsize>(out.size()), reinterpret_cast<jbyte*>(out.data()));
  return out;
}

/// A new Java array of these bytes; null with a pending exception when memory is short.
inline jbyteArray toArray(JNIEnv* env, const uint8_t* bytes, int size) {
  const jbyteArray array = env->NewByteArray(size);
  if (array && size > 0) env->SetByteArrayRegion(array, 0, size, reinterpret_cast<const jbyte*>(bytes));
  return array;
}

/// The fields of a record that Java and native code share by their names; all are of type long. A name that
/// is not there leaves a pending exception, with which nothing more is read or set.
class JavaRecord {
 public:
  JavaRecord(JNIEnv* env, jobject object) : env_(env), object_(object), type_(env->GetObjectClass(object)) {}
  ~JavaRecord() { env_->DeleteLocalRef(type_); }
  JavaRecord(const JavaRecord&) = delete;
  JavaRecord& operator=(const JavaRecord&) = delete;

  void set(const char* name, int64_t value) const {
    if (const jfieldID id = field(name)) env_->SetLongField(object_, id, value);
  }
  int64_t get(const char* name) const {
    const jfieldID id = field(name);
    return id ? env_->GetLongField(object_, id) : 0;
  }
  int getInt(const char* name) const { return static_cast<int>(get(name)); }

 private:
  jfieldID field(const char* name) const {
    return env_->ExceptionCheck() ? nullptr : env_->GetFieldID(type_, name, "J");
  }

  JNIEnv* env_;
  jobject object_;
  jclass type_;
};

/// Elements of a byte array for reading, released without copying back.
class ReadBytes {
 public:
  ReadBytes(JNIEnv* env, jbyteArray array)
      : env_(env), array_(array), elements_(array ? env->GetByteArrayElements(array, nullptr) : nullptr) {}
  ~ReadBytes() {
    if (elements_) env_->ReleaseByteArrayElements(array_, elements_, JNI_ABORT);
  }
  ReadBytes(const ReadBytes&) = delete;
  ReadBytes& operator=(const ReadBytes&) = delete;

  const unsigned char* data() const { return reinterpret_cast<const unsigned char*>(elements_); }

 private:
  JNIEnv* env_;
  jbyteArray array_;
  jbyte* elements_;
};

}  // namespace qvs::host

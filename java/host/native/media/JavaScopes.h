#pragma once

#include <jni.h>
#include <string>

namespace qvs::host {

/// The characters of a Java string; empty for null. UTF-8 but for characters beyond the basic plane.
inline std::string toString(JNIEnv* env, jstring text) {
  if (!text) return {};
  const char* characters = env->GetStringUTFChars(text, nullptr);
  if (!characters) return {};
  std::string copy(characters);
  env->ReleaseStringUTFChars(text, characters);
  return copy;
}

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

#pragma once

#include <jni.h>

namespace qvs {

/// The characters of a Java string in modified UTF-8 for the length of a scope; null for a null string.
class Utf {
 public:
  Utf(JNIEnv* env, jstring string);
  ~Utf() {
    if (text != nullptr) env->ReleaseStringUTFChars(string, text);
  }
  Utf(const Utf&) = delete;
  Utf& operator=(const Utf&) = delete;

  const char* get() const { return text; }

 private:
  JNIEnv* env;
  jstring string;
  const char* text;
};

}  // namespace qvs

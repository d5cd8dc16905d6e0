#pragma once

#include <jni.h>

#include <utility>

namespace qvs {

/// A local reference that goes with its scope.
template <typename Ref>
class LocalRef {
 public:
  LocalRef() = default;
  LocalRef(JNIEnv* env, Ref ref) : env(env), ref(ref) {}
  ~LocalRef() { reset(); }
  LocalRef(LocalRef&& other) noexcept : env(other.env), ref(std::exchange(other.ref, nullptr)) {}
  LocalRef& operator=(LocalRef&& other) noexcept {
    reset();
    env = other.env;
    ref = std::exchange(other.ref, nullptr);
    return *this;
  }

  Ref get() const { return ref; }
  explicit operator bool() const { return ref != nullptr; }

 private:
  void reset() {
    if (ref != nullptr) env->DeleteLocalRef(std::exchange(ref, nullptr));
  }

  JNIEnv* env = nullptr;
  Ref ref = nullptr;
};

}  // namespace qvs

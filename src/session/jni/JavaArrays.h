#pragma once

#include <jni.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/FreeDeleter.h"
#include "session/jni/LocalRef.h"
#include "session/jni/Lookup.h"

namespace qvs {

/// A checked part of a Java array.
struct ArrayRange {
  jsize offset;
  jsize len;
};

/// `offset` and `len` as a part of `array`, nothing where they are negative or reach past its end. A null
/// array has length 0.
std::optional<ArrayRange> arrayRange(JNIEnv* env, jarray array, jlong offset, jlong len);

/// A malloc'ed copy of a part of `array` with `headRoom` zeroed bytes in front; null where the part is not
/// within the array or memory failed. Never null for an empty part.
MallocBytes copyBytes(JNIEnv* env, jbyteArray array, jlong offset, jlong len, uint32_t headRoom = 0);

/// The elements of a Java long array cut to 32 bits, at most `limit` of them; none for a null array. Short
/// lists, which is what comes with every frame, take no heap.
class IndexList {
 public:
  IndexList(JNIEnv* env, jlongArray array, size_t limit);
  IndexList(const IndexList&) = delete;
  IndexList& operator=(const IndexList&) = delete;

  std::span<const uint32_t> get() const { return values; }

 private:
  static constexpr size_t kShort = 16;

  std::array<uint32_t, kShort> shortList;
  std::vector<uint32_t> longList;
  std::span<uint32_t> values;
};

/// A new Java array with a copy of the bytes; null, without an exception, where memory failed.
LocalRef<jbyteArray> newByteArray(JNIEnv* env, std::span<const uint8_t> bytes);

/// A byte array's elements for the length of a scope, written back at its end.
class PinnedBytes {
 public:
  PinnedBytes(JNIEnv* env, jbyteArray array);
  ~PinnedBytes() {
    if (elements != nullptr) env->ReleaseByteArrayElements(array, elements, 0);
  }
  PinnedBytes(const PinnedBytes&) = delete;
  PinnedBytes& operator=(const PinnedBytes&) = delete;

  uint8_t* get() const { return reinterpret_cast<uint8_t*>(elements); }

 private:
  JNIEnv* env;
  jbyteArray array;
  jbyte* elements;
};

/// What differs between arrays of long and of double.
template <typename Element>
struct JavaArrayOf;

template <>
struct JavaArrayOf<int64_t> {
  using Array = jlongArray;
  static_assert(sizeof(jlong) == sizeof(int64_t));
  static Array make(JNIEnv* env, jsize len) { return env->NewLongArray(len); }
  static void get(JNIEnv* env, Array array, jsize len, int64_t* to) {
    env->GetLongArrayRegion(array, 0, len, reinterpret_cast<jlong*>(to));
  }
  static void set(JNIEnv* env, Array array, jsize len, const int64_t* from) {
    env->SetLongArrayRegion(array, 0, len, reinterpret_cast<const jlong*>(from));
  }
};

template <>
struct JavaArrayOf<double> {
  using Array = jdoubleArray;
  static Array make(JNIEnv* env, jsize len) { return env->NewDoubleArray(len); }
  static void get(JNIEnv* env, Array array, jsize len, double* to) {
    env->GetDoubleArrayRegion(array, 0, len, to);
  }
  static void set(JNIEnv* env, Array array, jsize len, const double* from) {
    env->SetDoubleArrayRegion(array, 0, len, from);
  }
};

/// A new Java array of long or double with a copy of the numbers; null, without an exception, where memory failed.
template <typename Value>
LocalRef<typename JavaArrayOf<Value>::Array> newNumberArray(JNIEnv* env, std::span<const Value> values) {
  using Arrays = JavaArrayOf<Value>;
  const auto length = static_cast<jsize>(values.size());
  LocalRef<typename Arrays::Array> array(env, Arrays::make(env, length));
  if (!array) {
    clearFailure(env);
  } else {
    Arrays::set(env, array.get(), length, values.data());
  }
  return array;
}

/// The same for 32-bit numbers.
LocalRef<jintArray> newIntArray(JNIEnv* env, std::span<const int32_t> values);
LocalRef<jintArray> newIntArray(JNIEnv* env, std::span<const uint32_t> values);

/// Reads as many as both have room for; how many those are. A null array has none.
size_t readIntArray(JNIEnv* env, jintArray array, std::span<uint32_t> values);

}  // namespace qvs

// Bounds-checked access to Java arrays.
#include "session/jni/JavaArrays.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "session/jni/Lookup.h"

namespace qvs {

std::optional<ArrayRange> arrayRange(JNIEnv* env, jarray array, jlong offset, jlong len) {
  const jlong available = array != nullptr ? env->GetArrayLength(array) : 0;
  if (offset < 0 || len < 0 || offset > available || len > available - offset) return std::nullopt;
  return ArrayRange{static_cast<jsize>(offset), static_cast<jsize>(len)};
}

MallocBytes copyBytes(JNIEnv* env, jbyteArray array, jlong offset, jlong len, uint32_t headRoom) {
  const std::optional<ArrayRange> range = arrayRange(env, array, offset, len);
  if (!range) return nullptr;
  const size_t size = size_t{headRoom} + static_cast<size_t>(range->len);
  if (size > std::numeric_limits<uint32_t>::max()) return nullptr;
  // At least one byte, so that null means failure alone.
  MallocBytes block(static_cast<uint8_t*>(std::malloc(std::max<size_t>(size, 1))));
  if (!block) return nullptr;
  std::memset(block.get(), 0, headRoom);
  if (range->len > 0) {
    env->GetByteArrayRegion(array, range->offset, range->len,
                            reinterpret_cast<jbyte*>(block.get() + headRoom));
  }
  return block;
}

IndexList::IndexList(JNIEnv* env, jlongArray array, size_t limit) {
  const size_t count = array != nullptr ? std::min<size_t>(env->GetArrayLength(array), limit) : 0;
  if (count > kShort) longList.resize(count);
  values = count > kShort ? std::span<uint32_t>(longList) : std::span<uint32_t>(shortList).first(count);
  std::array<jlong, kShort> chunk;
  for (size_t done = 0; done < count;) {
    const size_t part = std::min(count - done, kShort);
    env->GetLongArrayRegion(array, static_cast<jsize>(done), static_cast<jsize>(part), chunk.data());
    for (size_t i = 0; i < part; ++i) values[done + i] = static_cast<uint32_t>(chunk[i]);
    done += part;
  }
}

LocalRef<jbyteArray> newByteArray(JNIEnv* env, std::span<const uint8_t> bytes) {
  if (bytes.size() > static_cast<size_t>(std::numeric_limits<jsize>::max())) return {};
  const auto len = static_cast<jsize>(bytes.size());
  LocalRef<jbyteArray> array(env, env->NewByteArray(len));
  if (!array) {
    clearFailure(env);
  } else if (len > 0) {
    env->SetByteArrayRegion(array.get(), 0, len, reinterpret_cast<const jbyte*>(bytes.data()));
  }
  return array;
}

LocalRef<jintArray> newIntArray(JNIEnv* env, std::span<const int32_t> values) {
  const auto length = static_cast<jsize>(values.size());
  LocalRef<jintArray> array(env, env->NewIntArray(length));
  if (!array) {
    clearFailure(env);
  } else {
    env->SetIntArrayRegion(array.get(), 0, length, values.data());
  }
  return array;
}

LocalRef<jintArray> newIntArray(JNIEnv* env, std::span<const uint32_t> values) {
  return newIntArray(env, std::span(reinterpret_cast<const int32_t*>(values.data()), values.size()));
}

size_t readIntArray(JNIEnv* env, jintArray array, std::span<uint32_t> values) {
  const size_t there = array != nullptr ? static_cast<size_t>(env->GetArrayLength(array)) : 0;
  const size_t count = std::min(there, values.size());
  if (count != 0) {
    env->GetIntArrayRegion(array, 0, static_cast<jsize>(count), reinterpret_cast<jint*>(values.data()));
  }
  return count;
}

PinnedBytes::PinnedBytes(JNIEnv* env, jbyteArray array)
    : env(env), array(array), elements(env->GetByteArrayElements(array, nullptr)) {
  if (elements == nullptr) clearFailure(env);
}

}  // namespace qvs

#pragma once

#include <cstdio>
#include <span>

#include "capture/CaptureManager.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/records/CaptureRecords.h"

// What the natives of capture share.

namespace qvs {

inline constexpr jlong kNoSuchDevice = -2;

/// Runs `call` on the manager; -1 before `captureManagerInit`.
template <typename Call>
jlong withManager(const char* label, Call&& call) {
  return guarded(
      label,
      [&]() -> jlong {
        CaptureManager& manager = *CaptureManager::getInstance();
        if (!manager.isInited()) return failEntry(label, {.reason = "There is no capture manager"});
        return static_cast<jlong>(call(manager));
      },
      kEntryFailure);
}

/// Runs `call` on a device, or answers -2 where none has the id.
template <typename Call>
jlong withDevice(const char* label, jlong deviceId, Call&& call) {
  return withManager(label, [&](CaptureManager& manager) -> jlong {
    const bool fits = deviceId >= 0 && deviceId <= INT32_MAX;
    ICaptureDevice* const device = fits ? manager.getDevice(static_cast<uint32_t>(deviceId)) : nullptr;
    if (device == nullptr) {
      failEntry(label, {.reason = "No capture device has this id", .number = deviceId});
      return kNoSuchDevice;
    }
    return static_cast<jlong>(call(*device));
  });
}

/// The fields of a host's object. `entry` is the native's bare name, for the line about a field that is missing.
template <typename Record, size_t N>
class CaptureObject {
 public:
  CaptureObject(JNIEnv* env, const char* entry, jobject object, const JavaRecord<Record, N>& table)
      : env(env), object(object), fields(env, classOf(env, object).get(), table) {
    if (!fields.complete()) std::printf("%s:%sFld\n", entry, fields.missing());
  }

  explicit operator bool() const { return fields.complete(); }
  void read(Record& record) const { fields.read(object, record); }
  void write(const Record& record) const { fields.write(object, record); }
  LocalRef<jobject> get(size_t index) const { return objectField(env, object, fields.id(index)); }
  void set(size_t index, jobject value) const { env->SetObjectField(object, fields.id(index), value); }

 private:
  JNIEnv* env;
  jobject object;
  RecordFields<Record, N> fields;
};

/// Appends one Java object a record to a list; false where the list or the class can't be used.
template <typename Record, size_t N>
bool appendRecords(JNIEnv* env, jobject listObj, const JavaRecord<Record, N>& table,
                   std::span<const Record> records) {
  const JavaList list(env, listObj);
  const LocalRef<jclass> cls = findClass(env, table.className);
  const jmethodID init = findMethod(env, cls.get(), "<init>", "()V");
  const RecordFields fields(env, cls.get(), table);
  if (!list || init == nullptr || !fields.complete()) return false;
  for (const Record& record : records) {
    const LocalRef<jobject> item(env, env->NewObject(cls.get(), init));
    if (!item) return !clearFailure(env);
    fields.write(item.get(), record);
    if (!list.add(item.get())) return false;
  }
  return true;
}

}  // namespace qvs

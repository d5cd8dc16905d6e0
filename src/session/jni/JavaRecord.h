#pragma once

#include <jni.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "session/jni/Lookup.h"
#include "session/jni/Utf.h"

namespace qvs {

/// Where a field's value goes; none for arrays and lists, which their owner moves.
template <typename Record>
using JavaMember =
    std::variant<std::monostate, int32_t Record::*, uint32_t Record::*, int64_t Record::*, uint64_t Record::*,
                 uint8_t Record::*, double Record::*, std::string Record::*>;

/// One field of a Java class: name and signature as the virtual machine wants them.
template <typename Record>
struct JavaField {
  const char* name;
  const char* signature;
  JavaMember<Record> member{};
};

/// The fields of one Java class that native code touches; the one place that names them. `className` is null
/// for objects whose class is known only from the argument.
template <typename Record, size_t N>
struct JavaRecord {
  const char* className;
  std::array<JavaField<Record>, N> fields;

  /// Number of a field, for those without a member. A wrong name does not compile.
  consteval size_t index(std::string_view name) const {
    for (size_t i = 0; i < N; ++i) {
      if (name == fields[i].name) return i;
    }
    throw "no such field";
  }
};

/// Moves one value between a Java field and a native one. The signature, not the member, picks the Java type.
class FieldMover {
 public:
  FieldMover(JNIEnv* env, jobject object) : env(env), object(object) {}

  template <typename Value>
  void write(jfieldID id, const char* signature, const Value& value) const {
    switch (signature[0]) {
      case 'I':
        return env->SetIntField(object, id, static_cast<jint>(value));
      case 'J':
        return env->SetLongField(object, id, static_cast<jlong>(value));
      case 'Z':
        return env->SetBooleanField(object, id, value != 0 ? JNI_TRUE : JNI_FALSE);
      case 'D':
        return env->SetDoubleField(object, id, static_cast<jdouble>(value));
    }
  }
  void write(jfieldID id, const char* signature, const std::string& value) const;

  template <typename Value>
  void read(jfieldID id, const char* signature, Value& value) const {
    switch (signature[0]) {
      case 'I':
        value = static_cast<Value>(env->GetIntField(object, id));
        break;
      case 'J':
        value = static_cast<Value>(env->GetLongField(object, id));
        break;
      case 'Z':
        value = static_cast<Value>(env->GetBooleanField(object, id) == JNI_TRUE);
        break;
      case 'D':
        value = static_cast<Value>(env->GetDoubleField(object, id));
        break;
    }
  }

  /// Leaves `value` as it is for a null string.
  void read(jfieldID id, const char* signature, std::string& value) const;

 private:
  JNIEnv* env;
  jobject object;
};

/// A record's field ids, resolved for one call.
template <typename Record, size_t N>
class RecordFields {
 public:
  /// `table` must outlive this. A null class leaves every field missing.
  RecordFields(JNIEnv* env, jclass cls, const JavaRecord<Record, N>& table) : env(env), table(table) {
    for (size_t i = 0; i < N; ++i) {
      ids[i] = findField(env, cls, table.fields[i].name, table.fields[i].signature);
      if (ids[i] == nullptr && firstMissing == N) firstMissing = i;
    }
  }

  bool complete() const { return firstMissing == N; }

  /// True when the first `count` fields are there.
  bool completeTo(size_t count) const { return firstMissing >= count; }

  /// Name of the first missing field; null when all are there.
  const char* missing() const { return complete() ? nullptr : table.fields[firstMissing].name; }
  jfieldID id(size_t index) const { return ids[index]; }

  /// Fields that are missing or have no member are passed over.
  void write(jobject object, const Record& record) const {
    const FieldMover mover(env, object);
    forEach(
        [&](jfieldID id, const char* signature, auto member) { mover.write(id, signature, record.*member); });
  }

  void read(jobject object, Record& record) const {
    const FieldMover mover(env, object);
    forEach(
        [&](jfieldID id, const char* signature, auto member) { mover.read(id, signature, record.*member); });
  }

 private:
  template <typename Move>
  void forEach(Move move) const {
    for (size_t i = 0; i < N; ++i) {
      if (ids[i] == nullptr) continue;
      std::visit(
          [&](auto member) {
            if constexpr (!std::is_same_v<decltype(member), std::monostate>) {
              move(ids[i], table.fields[i].signature, member);
            }
          },
          table.fields[i].member);
    }
  }

  JNIEnv* env;
  const JavaRecord<Record, N>& table;
  std::array<jfieldID, N> ids{};
  size_t firstMissing = N;
};

}  // namespace qvs

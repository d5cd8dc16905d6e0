// Numbers in Java's holder objects.
#include "session/jni/Holders.h"

namespace qvs {
namespace {

template <typename Record, size_t N>
bool writeRecord(JNIEnv* env, jobject object, const JavaRecord<Record, N>& table, const Record& record) {
  const LocalRef<jclass> cls = classOf(env, object);
  const RecordFields fields(env, cls.get(), table);
  if (!fields.complete()) return false;
  fields.write(object, record);
  return true;
}

}  // namespace

std::optional<int64_t> readHolder(JNIEnv* env, jobject holder) {
  const LocalRef<jclass> cls = classOf(env, holder);
  const RecordFields fields(env, cls.get(), kLongHolder);
  if (!fields.complete()) return std::nullopt;
  JavaLongHolder record;
  fields.read(holder, record);
  return record.value;
}

bool writeHolder(JNIEnv* env, jobject holder, int64_t value) {
  return writeRecord(env, holder, kLongHolder, JavaLongHolder{value});
}

bool writeHolder(JNIEnv* env, jobject holder, const std::string& value) {
  return writeRecord(env, holder, kStringHolder, JavaStringHolder{value});
}

}  // namespace qvs

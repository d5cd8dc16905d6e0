// Shows the record tables of the native boundary to a test in the virtual machine.

#include <string>
#include <vector>

#include "session/jni/JavaArrays.h"
#include "session/jni/records/AllRecords.h"
#include "session/JNIAllocator.h"

using namespace qvs;

/// Rows "class field signature".
extern "C" JNIEXPORT jobjectArray JNICALL Java_com_zarvo_qvs_transcoder_test_RecordTables_rows(JNIEnv* env,
                                                                                               jclass) {
  std::vector<std::string> rows;
  forEachRecord([&](const char* name, const auto& table) {
    for (const auto& field : table.fields)
      rows.push_back(std::string(name) + ' ' + field.name + ' ' + field.signature);
  });
  const LocalRef<jclass> string = findClass(env, "java/lang/String");
  const jobjectArray result = env->NewObjectArray(static_cast<jsize>(rows.size()), string.get(), nullptr);
  for (size_t i = 0; result != nullptr && i < rows.size(); ++i) {
    const LocalRef<jstring> row(env, env->NewStringUTF(rows[i].c_str()));
    env->SetObjectArrayElement(result, static_cast<jsize>(i), row.get());
    if (env->ExceptionCheck()) break;
  }
  return result;
}

/// What the bounds check of array parts answers.
extern "C" JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_transcoder_test_RecordTables_within(
    JNIEnv* env, jclass, jbyteArray array, jlong offset, jlong len) {
  return arrayRange(env, array, offset, len).has_value() ? JNI_TRUE : JNI_FALSE;
}

/// An array of the allocator with its bytes counted up from 0; null where there is none.
extern "C" JNIEXPORT jbyteArray JNICALL
Java_com_zarvo_qvs_transcoder_test_RecordTables_allocated(JNIEnv* env, jclass, jlong size) {
  JNIAllocator allocator(env);
  void* array = allocator.byteArrayNew(static_cast<uint32_t>(size));
  uint8_t* bytes = array != nullptr ? allocator.byteArrayLock(array) : nullptr;
  if (bytes == nullptr) return nullptr;
  for (jlong i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i);
  allocator.byteArrayUnlock(array, bytes);
  return static_cast<jbyteArray>(array);
}

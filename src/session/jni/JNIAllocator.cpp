// Java byte arrays as the memory of coded frames.
#include "session/JNIAllocator.h"

#include <jni.h>

#include <algorithm>
#include <limits>

#include "session/jni/Lookup.h"

namespace qvs {
namespace {

constexpr int kFirstRoom = 64;
constexpr int kOtherReferences = 16;

}  // namespace

void* JNIAllocator::byteArrayNew(uint32_t size) {
  if (size > static_cast<uint32_t>(std::numeric_limits<jsize>::max())) return nullptr;
  // A batch holds more arrays than the frame of a native call has room for. Machines that check take the number as that
  // of all references of the call.
  if (made == room) {
    room += std::max(room, kFirstRoom);
    if (env->EnsureLocalCapacity(room + kOtherReferences) != JNI_OK) {
      clearFailure(env);
      return nullptr;
    }
  }
  const jbyteArray array = env->NewByteArray(static_cast<jsize>(size));
  if (array == nullptr) {
    clearFailure(env);
    return nullptr;
  }
  ++made;
  return array;
}

uint8_t* JNIAllocator::byteArrayLock(void* array) {
  jbyte* elements = env->GetByteArrayElements(static_cast<jbyteArray>(array), nullptr);
  if (elements == nullptr) clearFailure(env);
  return reinterpret_cast<uint8_t*>(elements);
}

void JNIAllocator::byteArrayUnlock(void* array, uint8_t* elements) {
  env->ReleaseByteArrayElements(static_cast<jbyteArray>(array), reinterpret_cast<jbyte*>(elements), 0);
}

}  // namespace qvs

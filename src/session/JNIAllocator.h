#pragma once

#include <cstdint>

struct JNIEnv_;

namespace qvs {

/// Byte arrays of the virtual machine for stages that write their output straight into them. Made per call,
/// since neither it nor an array may be used on another thread or after the call. Virtual, so that stages below the
/// boundary need nothing of it but this header.
class JNIAllocator {
 public:
  explicit JNIAllocator(JNIEnv_* env) : env(env) {}
  virtual ~JNIAllocator() = default;

  /// A local reference to a new array; null, without an exception, when memory failed or `size` exceeds 2^31
  /// - 1.
  virtual void* byteArrayNew(uint32_t size);

  /// The array's bytes until `byteArrayUnlock`; null when memory failed.
  virtual uint8_t* byteArrayLock(void* array);

  /// Writes the bytes back; both pointers come from the calls above.
  virtual void byteArrayUnlock(void* array, uint8_t* elements);

  /// Always null: the virtual machine collects the array.
  virtual void* byteArrayFree(void*) { return nullptr; }

 private:
  JNIEnv_* env;
  int made = 0;
  int room = 0;  ///< local references that the native call's frame was asked to have
};

}  // namespace qvs

#pragma once

#include <jni.h>

#include "session/jni/LocalRef.h"

namespace qvs {

/// Look-ups of classes, fields and methods. A failed one answers null and leaves no exception pending. Ids
/// are good for the one call: nothing is kept.
LocalRef<jclass> findClass(JNIEnv* env, const char* name);
LocalRef<jclass> classOf(JNIEnv* env, jobject object);  ///< null for a null object
jfieldID findField(JNIEnv* env, jclass cls, const char* name, const char* signature);
jmethodID findStaticMethod(JNIEnv* env, jclass cls, const char* name, const char* signature);
jmethodID findMethod(JNIEnv* env, jclass cls, const char* name, const char* signature);

/// The value of an object field, null where the field is missing.
LocalRef<jobject> objectField(JNIEnv* env, jobject object, jfieldID field);

/// Ends a failure of the virtual machine itself, such as exhausted memory; true when there was one.
bool clearFailure(JNIEnv* env);

/// A Java list that a call appends to.
class JavaList {
 public:
  JavaList(JNIEnv* env, jobject list);

  /// False for a null list or one without `add`.
  explicit operator bool() const { return addMethod != nullptr; }

  /// False when the list refused by an exception, which stays pending: it is the caller's own.
  bool add(jobject item) const;

 private:
  JNIEnv* env;
  jobject list;
  jmethodID addMethod = nullptr;
};

}  // namespace qvs

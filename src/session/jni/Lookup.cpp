// Looking classes, fields and methods up without leaving an exception pending.
#include "session/jni/Lookup.h"

namespace qvs {

bool clearFailure(JNIEnv* env) {
  if (!env->ExceptionCheck()) return false;
  env->ExceptionClear();
  return true;
}

LocalRef<jclass> findClass(JNIEnv* env, const char* name) {
  LocalRef<jclass> cls(env, env->FindClass(name));
  if (!cls) clearFailure(env);
  return cls;
}

LocalRef<jclass> classOf(JNIEnv* env, jobject object) {
  if (object == nullptr) return {};
  return {env, env->GetObjectClass(object)};
}

jfieldID findField(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  if (cls == nullptr) return nullptr;
  const jfieldID field = env->GetFieldID(cls, name, signature);
  if (field == nullptr) clearFailure(env);
  return field;
}

jmethodID findMethod(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  if (cls == nullptr) return nullptr;
  const jmethodID method = env->GetMethodID(cls, name, signature);
  if (method == nullptr) clearFailure(env);
  return method;
}

jmethodID findStaticMethod(JNIEnv* env, jclass cls, const char* name, const char* signature) {
  if (cls == nullptr) return nullptr;
  const jmethodID method = env->GetStaticMethodID(cls, name, signature);
  if (method == nullptr) clearFailure(env);
  return method;
}

LocalRef<jobject> objectField(JNIEnv* env, jobject object, jfieldID field) {
  if (object == nullptr || field == nullptr) return {};
  return {env, env->GetObjectField(object, field)};
}

JavaList::JavaList(JNIEnv* env, jobject list) : env(env), list(list) {
  const LocalRef<jclass> cls = classOf(env, list);
  addMethod = findMethod(env, cls.get(), "add", "(Ljava/lang/Object;)Z");
}

bool JavaList::add(jobject item) const {
  env->CallBooleanMethod(list, addMethod, item);
  return !env->ExceptionCheck();  // whether the list says that it grew doesn't matter
}

}  // namespace qvs

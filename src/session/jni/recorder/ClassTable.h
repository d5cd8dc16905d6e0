#pragma once

#include <jni.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "session/jni/recorder/FrameBuffer.h"
#include "session/jni/recorder/RecordingFormat.h"

namespace qvs {

/// A field of a record that the boundary may read or write.
struct JavaField {
  jfieldID id;
  std::string name;
  std::string signature;
};

struct JavaClass {
  jclass cls;  ///< global
  uint16_t number;
  ValueKind kind;
  std::string name;
  std::vector<JavaField> fields;  ///< of records
};

/// The Java classes of what crosses the boundary, each looked at when it is first met. Any thread may ask.
class ClassTable {
 public:
  /// Gets the definition of each class before `find` answers with it.
  using Listener = std::function<void(const FrameBuffer& definition)>;

  /// False, with no exception pending, where the virtual machine lacks what it takes.
  bool prepare(JNIEnv* env);

  /// The class of an object, which isn't null; null where it can't be looked at.
  const JavaClass* find(JNIEnv* env, jobject object);

  /// The listener of the next recording, which hears of all classes once more.
  void listen(Listener listener);

  jmethodID toArray() const { return listToArray; }
  jmethodID position() const { return bufferPosition; }
  jmethodID limit() const { return bufferLimit; }

  /// Binary name and, of a type, its signature ("I", "[B", "Ljava/lang/String;").
  std::string nameOf(JNIEnv* env, jclass cls) const;
  std::string signatureOf(JNIEnv* env, jclass type) const;

 private:
  const JavaClass* known(JNIEnv* env, jclass cls) const;
  ValueKind kindOf(JNIEnv* env, jobject object, const std::string& name) const;
  void readFields(JNIEnv* env, jclass cls, JavaClass& described) const;
  void define(const JavaClass& described) const;

  mutable std::mutex lock;
  std::deque<JavaClass> classes;  // entries don't move
  Listener listener;
  jclass list = nullptr;
  jclass buffer = nullptr;
  jmethodID listToArray = nullptr;
  jmethodID bufferPosition = nullptr;
  jmethodID bufferLimit = nullptr;
  jmethodID className = nullptr;
  jmethodID superclass = nullptr;
  jmethodID declaredFields = nullptr;
  jmethodID fieldName = nullptr;
  jmethodID fieldType = nullptr;
  jmethodID fieldModifiers = nullptr;
};

}  // namespace qvs

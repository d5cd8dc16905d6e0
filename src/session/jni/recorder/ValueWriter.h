#pragma once

#include <jni.h>

#include "session/jni/recorder/ClassTable.h"
#include "session/jni/recorder/FrameBuffer.h"

namespace qvs {

/// Writes Java objects into a frame: the number of their class, then what they hold. Leaves no exception pending.
class ValueWriter {
 public:
  ValueWriter(JNIEnv* env, ClassTable& classes, FrameBuffer& frame)
      : env(env), classes(classes), frame(frame) {}

  void write(jobject object) { write(object, 0); }

 private:
  void write(jobject object, int depth);
  void writeItems(jobjectArray items, int depth);
  void writeRecord(jobject object, const JavaClass& cls, int depth);
  void writeText(jstring string);
  void writeBuffer(jobject object);
  template <typename Element, typename Array>
  void writeNumbers(Array array, void (JNIEnv::*getRegion)(Array, jsize, jsize, Element*));

  JNIEnv* env;
  ClassTable& classes;
  FrameBuffer& frame;
};

}  // namespace qvs

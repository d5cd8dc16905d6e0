// Java objects on their way into a frame.
#include "session/jni/recorder/ValueWriter.h"

#include "session/jni/recorder/JavaCalls.h"

namespace qvs {
namespace {

// A list of packets in a record of an argument is three deep; what goes further is no record of the boundary.
constexpr int kDeepest = 5;

}  // namespace

void ValueWriter::write(jobject object, int depth) {
  if (object == nullptr) return frame.put(kNullValue);
  const JavaClass* cls = depth < kDeepest ? classes.find(env, object) : nullptr;
  if (cls == nullptr) return frame.put(kUnreadValue);
  const size_t begin = frame.size();
  frame.put(cls->number);
  switch (cls->kind) {
    case ValueKind::kString:
      return writeText(static_cast<jstring>(object));
    case ValueKind::kBytes:
      return writeNumbers(static_cast<jbyteArray>(object), &JNIEnv::GetByteArrayRegion);
    case ValueKind::kInts:
      return writeNumbers(static_cast<jintArray>(object), &JNIEnv::GetIntArrayRegion);
    case ValueKind::kLongs:
      return writeNumbers(static_cast<jlongArray>(object), &JNIEnv::GetLongArrayRegion);
    case ValueKind::kDoubles:
      return writeNumbers(static_cast<jdoubleArray>(object), &JNIEnv::GetDoubleArrayRegion);
    case ValueKind::kObjects:
      return writeItems(static_cast<jobjectArray>(object), depth);
    case ValueKind::kBuffer:
      return writeBuffer(object);
    case ValueKind::kRecord:
      return writeRecord(object, *cls, depth);
    case ValueKind::kList:
      break;
  }
  const auto items = callObject<jobjectArray>(env, object, classes.toArray());
  if (items) return writeItems(items.get(), depth);
  frame.shrink(begin);
  frame.put(kUnreadValue);
}

void ValueWriter::writeItems(jobjectArray items, int depth) {
  const jsize count = env->GetArrayLength(items);
  frame.put(count);
  for (jsize i = 0; i < count; ++i) {
    const LocalRef<jobject> item(env, env->GetObjectArrayElement(items, i));
    write(item.get(), depth + 1);
  }
}

void ValueWriter::writeRecord(jobject object, const JavaClass& cls, int depth) {
  for (const JavaField& field : cls.fields) {
    switch (field.signature[0]) {
      case 'J':
        frame.put(env->GetLongField(object, field.id));
        break;
      case 'I':
        frame.put(env->GetIntField(object, field.id));
        break;
      case 'D':
        frame.put(env->GetDoubleField(object, field.id));
        break;
      case 'Z':
        frame.put(env->GetBooleanField(object, field.id));
        break;
      default: {
        const LocalRef<jobject> value(env, env->GetObjectField(object, field.id));
        write(value.get(), depth + 1);
      }
    }
  }
}

void ValueWriter::writeText(jstring string) {
  const jsize length = env->GetStringLength(string);
  frame.put(length);
  std::vector<jchar> characters(static_cast<size_t>(length));
  env->GetStringRegion(string, 0, length, characters.data());
  std::memcpy(frame.extend(characters.size() * sizeof(jchar)), characters.data(),
              characters.size() * sizeof(jchar));
}

template <typename Element, typename Array>
void ValueWriter::writeNumbers(Array array, void (JNIEnv::*getRegion)(Array, jsize, jsize, Element*)) {
  const jsize count = env->GetArrayLength(array);
  frame.put(count);
  const size_t bytes = static_cast<size_t>(count) * sizeof(Element);
  (env->*getRegion)(array, 0, count, reinterpret_cast<Element*>(frame.extend(bytes)));
}

// Direct ones whole, as the boundary reads them. The bytes of others it never sees.
void ValueWriter::writeBuffer(jobject object) {
  frame.put(callInt(env, object, classes.position()));
  frame.put(callInt(env, object, classes.limit()));
  const void* bytes = env->GetDirectBufferAddress(object);
  const jlong capacity = bytes != nullptr ? env->GetDirectBufferCapacity(object) : -1;
  frame.put(capacity);
  if (capacity > 0)
    std::memcpy(frame.extend(static_cast<size_t>(capacity)), bytes, static_cast<size_t>(capacity));
}

}  // namespace qvs

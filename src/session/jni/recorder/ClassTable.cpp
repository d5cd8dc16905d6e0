// The Java classes of what crosses the boundary, by reflection.
#include "session/jni/recorder/ClassTable.h"

#include <algorithm>
#include <array>
#include <utility>

#include "session/jni/Lookup.h"
#include "session/jni/recorder/GlobalRef.h"
#include "session/jni/recorder/JavaCalls.h"
#include "session/jni/Utf.h"

namespace qvs {
namespace {

constexpr jint kStatic = 0x8;  // java.lang.reflect.Modifier

// Kinds by the names of their classes; what is none of these, no list and no buffer is an array of objects or a record.
constexpr std::array<std::pair<const char*, ValueKind>, 5> kKinds{{{"java.lang.String", ValueKind::kString},
                                                                   {"[B", ValueKind::kBytes},
                                                                   {"[I", ValueKind::kInts},
                                                                   {"[J", ValueKind::kLongs},
                                                                   {"[D", ValueKind::kDoubles}}};

constexpr std::array<std::pair<const char*, const char*>, 9> kPrimitives{{{"long", "J"},
                                                                          {"int", "I"},
                                                                          {"boolean", "Z"},
                                                                          {"double", "D"},
                                                                          {"void", "V"},
                                                                          {"byte", "B"},
                                                                          {"short", "S"},
                                                                          {"char", "C"},
                                                                          {"float", "F"}}};

std::string text(JNIEnv* env, jobject string) {
  const Utf characters(env, static_cast<jstring>(string));
  return characters.get() != nullptr ? characters.get() : "";
}

/// What the boundary moves in fields: numbers, text, arrays and what holds further records.
bool isCarried(const std::string& signature) {
  return signature == "J" || signature == "I" || signature == "Z" || signature == "D" ||
         signature[0] == '[' || signature.starts_with("Ljava/");
}

}  // namespace

bool ClassTable::prepare(JNIEnv* env) {
  const std::lock_guard<std::mutex> guard(lock);
  if (list != nullptr) return true;
  const auto cls = findClass(env, "java/lang/Class");
  const auto field = findClass(env, "java/lang/reflect/Field");
  const auto listClass = findClass(env, "java/util/List");
  const auto bufferClass = findClass(env, "java/nio/ByteBuffer");
  className = findMethod(env, cls.get(), "getName", "()Ljava/lang/String;");
  superclass = findMethod(env, cls.get(), "getSuperclass", "()Ljava/lang/Class;");
  declaredFields = findMethod(env, cls.get(), "getDeclaredFields", "()[Ljava/lang/reflect/Field;");
  fieldName = findMethod(env, field.get(), "getName", "()Ljava/lang/String;");
  fieldType = findMethod(env, field.get(), "getType", "()Ljava/lang/Class;");
  fieldModifiers = findMethod(env, field.get(), "getModifiers", "()I");
  listToArray = findMethod(env, listClass.get(), "toArray", "()[Ljava/lang/Object;");
  bufferPosition = findMethod(env, bufferClass.get(), "position", "()I");
  bufferLimit = findMethod(env, bufferClass.get(), "limit", "()I");
  for (const jmethodID method : {className, superclass, declaredFields, fieldName, fieldType, fieldModifiers,
                                 listToArray, bufferPosition, bufferLimit})
    if (method == nullptr) return false;
  buffer = keepClass(env, bufferClass.get());
  list = keepClass(env, listClass.get());
  return list != nullptr && buffer != nullptr;
}

std::string ClassTable::nameOf(JNIEnv* env, jclass cls) const {
  return text(env, callObject(env, cls, className).get());
}

std::string ClassTable::signatureOf(JNIEnv* env, jclass type) const {
  std::string name = nameOf(env, type);
  const auto primitive = std::find_if(kPrimitives.begin(), kPrimitives.end(),
                                      [&](const auto& row) { return name == row.first; });
  if (primitive != kPrimitives.end()) return primitive->second;
  std::replace(name.begin(), name.end(), '.', '/');
  return name.starts_with("[") ? name : "L" + name + ";";
}

const JavaClass* ClassTable::known(JNIEnv* env, jclass cls) const {
  for (const JavaClass& one : classes)
    if (env->IsSameObject(one.cls, cls)) return &one;
  return nullptr;
}

const JavaClass* ClassTable::find(JNIEnv* env, jobject object) {
  const LocalRef<jclass> cls = classOf(env, object);
  const std::lock_guard<std::mutex> guard(lock);
  if (const JavaClass* found = known(env, cls.get())) return found;
  if (classes.size() >= kUnreadValue - 1u) return nullptr;
  JavaClass described{};
  described.name = nameOf(env, cls.get());
  described.number = static_cast<uint16_t>(classes.size() + 1);
  described.kind = kindOf(env, object, described.name);
  if (described.kind == ValueKind::kRecord) readFields(env, cls.get(), described);
  described.cls = keepClass(env, cls.get());
  if (described.cls == nullptr) return nullptr;
  classes.push_back(std::move(described));
  define(classes.back());
  return &classes.back();
}

ValueKind ClassTable::kindOf(JNIEnv* env, jobject object, const std::string& name) const {
  for (const auto& [known, kind] : kKinds)
    if (name == known) return kind;
  if (name.starts_with("[L")) return ValueKind::kObjects;
  if (env->IsInstanceOf(object, list)) return ValueKind::kList;
  return env->IsInstanceOf(object, buffer) ? ValueKind::kBuffer : ValueKind::kRecord;
}

// Fields of any access, as the boundary finds them: its own first, then those of the classes that it extends.
void ClassTable::readFields(JNIEnv* env, jclass cls, JavaClass& described) const {
  LocalRef<jclass> parent;
  for (jclass owner = cls; owner != nullptr && nameOf(env, owner) != "java.lang.Object";
       owner = parent.get()) {
    const auto fields = callObject<jobjectArray>(env, owner, declaredFields);
    if (!fields) return;
    for (jsize i = 0; i < env->GetArrayLength(fields.get()); ++i) {
      const LocalRef<jobject> field(env, env->GetObjectArrayElement(fields.get(), i));
      if ((callInt(env, field.get(), fieldModifiers) & kStatic) != 0) continue;
      const auto name = callObject(env, field.get(), fieldName);
      const auto type = callObject<jclass>(env, field.get(), fieldType);
      if (!name || !type) continue;
      JavaField one{env->FromReflectedField(field.get()), text(env, name.get()),
                    signatureOf(env, type.get())};
      if (isCarried(one.signature)) described.fields.push_back(std::move(one));
    }
    parent = callObject<jclass>(env, owner, superclass);
  }
}

void ClassTable::listen(Listener next) {
  const std::lock_guard<std::mutex> guard(lock);
  listener = std::move(next);
  for (const JavaClass& one : classes) define(one);
}

void ClassTable::define(const JavaClass& described) const {
  if (!listener) return;
  FrameBuffer frame;
  frame.put(FrameKind::kClass);
  frame.put(described.number);
  frame.put(described.kind);
  frame.putText(described.name);
  frame.put(static_cast<uint16_t>(described.fields.size()));
  for (const JavaField& field : described.fields) {
    frame.putText(field.name);
    frame.putText(field.signature);
  }
  listener(frame);
}

}  // namespace qvs

// The natives of the library and the functions that stand in for them while a recording runs.
#include "session/jni/recorder/NativeTable.h"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "session/jni/Lookup.h"
#include "session/jni/recorder/GlobalRef.h"
#include "session/jni/recorder/JavaCalls.h"
#include "session/jni/Utf.h"

namespace qvs {
namespace {

constexpr jint kNativeModifier = 0x100;  // java.lang.reflect.Modifier

constexpr std::array kClasses{"com/zarvo/qvs/transcoder/model/TranscoderSessionNative",
                              "com/zarvo/qvs/transcoder/model/TranscoderVideoU30MXBean"};

constexpr std::array<std::string_view, 34> kPerFrame{"audioDecoderCaptureFrame",
                                                     "audioDecoderDecodeFrame",
                                                     "audioDecoderGetAudioFrame",
                                                     "audioDecoderGetChannels",
                                                     "audioDecoderGetSampleRate",
                                                     "audioDecoderIsFirstFrameDecoded",
                                                     "audioDecoderResampleFrame",
                                                     "audioDecoderUpdateAudioFrame",
                                                     "audioEncoderAddSampleBuffer",
                                                     "audioEncoderEncodeBufferDone",
                                                     "audioEncoderEncodeBufferStart",
                                                     "audioEncoderGetAudioFrame",
                                                     "audioEncoderResampleFrame",
                                                     "audioEncoderUpdateAudioFrame",
                                                     "destroyInstance",
                                                     "getHardwareInfoJSON",
                                                     "getLogStatements",
                                                     "thumbnailerGetVideoFrame",
                                                     "videoDecoderAddFrame",
                                                     "videoDecoderBufferAcquire",
                                                     "videoDecoderBufferAllocate",
                                                     "videoDecoderBufferGetVideoFrame",
                                                     "videoDecoderBufferRelease",
                                                     "videoDecoderDecode",
                                                     "videoDecoderGetCaptureInfo",
                                                     "videoDecoderGetFrame",
                                                     "videoDecoderGetParameterValues",
                                                     "videoEncoderBufferAcquire",
                                                     "videoEncoderBufferAllocate",
                                                     "videoEncoderBufferGetVideoFrame",
                                                     "videoEncoderBufferRelease",
                                                     "videoEncoderGetEncodedFrames",
                                                     "videoEncoderSkipFrame",
                                                     "videoEncoderAddFrame"};
constexpr std::array<std::string_view, 4> kPerFrameFamilies{"captureDeviceGet", "videoDecoderTransferFrame",
                                                            "videoScalerFreeFrame", "videoScalerScaleFrame"};

ffi_type* typeOf(char letter) {
  switch (letter) {
    case 'J':
      return &ffi_type_sint64;
    case 'I':
      return &ffi_type_sint32;
    case 'Z':
      return &ffi_type_uint8;
    case 'D':
      return &ffi_type_double;
    default:
      return &ffi_type_pointer;
  }
}

/// A name as it stands in the symbol of a native.
std::string mangled(std::string_view text) {
  std::string out;
  for (const char c : text) {
    if (c == '/')
      out += '_';
    else if (c == '_')
      out += "_1";
    else if (c == ';')
      out += "_2";
    else if (c == '[')
      out += "_3";
    else
      out += c;
  }
  return out;
}

/// Of an overloaded native only the long symbol is there.
void* functionOf(const Native& native) {
  const std::string symbol = "Java_" + mangled(native.className) + "_" + mangled(native.name);
  if (void* found = dlsym(RTLD_DEFAULT, symbol.c_str())) return found;
  const size_t end = native.signature.find(')');
  return dlsym(RTLD_DEFAULT, (symbol + "__" + mangled(native.signature.substr(1, end - 1))).c_str());
}

}  // namespace

bool Native::takesSession() const {
  return parameters.starts_with("J") && className == kClasses[0] && !name.starts_with("capture") &&
         name != "setNativeLibPath";
}

bool Native::isPerFrame() const {
  return std::find(kPerFrame.begin(), kPerFrame.end(), name) != kPerFrame.end() ||
         std::any_of(kPerFrameFamilies.begin(), kPerFrameFamilies.end(),
                     [&](std::string_view family) { return name.starts_with(family); });
}

std::string NativeTable::prepare(JNIEnv* env, const ClassTable& classes, Target target) {
  if (!owners.empty()) return {};
  for (const char* className : kClasses) {
    const LocalRef<jclass> cls = findClass(env, className);
    if (!cls) continue;  // a host without cards may lack the class of theirs
    const std::string trouble = collect(env, classes, cls.get(), className);
    if (!trouble.empty()) return trouble;
  }
  if (natives.empty()) return "the library's Java classes aren't there";
  for (Native& native : natives)
    if (!makeStandIn(native, target)) return "no function could be made in the place of " + native.name;
  return {};
}

std::string NativeTable::collect(JNIEnv* env, const ClassTable& classes, jclass cls,
                                 const std::string& className) {
  const auto ofClasses = findClass(env, "java/lang/Class");
  const jmethodID getMethods =
      findMethod(env, ofClasses.get(), "getDeclaredMethods", "()[Ljava/lang/reflect/Method;");
  if (getMethods == nullptr) return "java.lang.Class has no methods";
  const LocalRef<jobjectArray> methods(env,
                                       static_cast<jobjectArray>(env->CallObjectMethod(cls, getMethods)));
  if (clearFailure(env) || !methods) return className + " doesn't tell its methods";
  for (jsize i = 0; i < env->GetArrayLength(methods.get()); ++i) {
    const LocalRef<jobject> method(env, env->GetObjectArrayElement(methods.get(), i));
    Native native{};
    native.className = className;
    if (!describe(env, classes, method.get(), native)) continue;
    native.function = functionOf(native);
    if (native.function == nullptr) continue;  // declared by a newer host: it can't be called either
    native.number = static_cast<uint16_t>(natives.size());
    natives.push_back(std::move(native));
  }
  owners.push_back({className, keepClass(env, cls)});
  return {};
}

/// False for what is no native with a number as its result.
bool NativeTable::describe(JNIEnv* env, const ClassTable& classes, jobject method, Native& native) const {
  const auto cls = classOf(env, method);
  const jmethodID modifiers = findMethod(env, cls.get(), "getModifiers", "()I");
  const jmethodID getName = findMethod(env, cls.get(), "getName", "()Ljava/lang/String;");
  const jmethodID parameters = findMethod(env, cls.get(), "getParameterTypes", "()[Ljava/lang/Class;");
  const jmethodID resultType = findMethod(env, cls.get(), "getReturnType", "()Ljava/lang/Class;");
  if (modifiers == nullptr || getName == nullptr || parameters == nullptr || resultType == nullptr)
    return false;
  if ((callInt(env, method, modifiers) & kNativeModifier) == 0) return false;
  const auto name = callObject<jstring>(env, method, getName);
  const auto types = callObject<jobjectArray>(env, method, parameters);
  const auto result = callObject<jclass>(env, method, resultType);
  if (!name || !types || !result) return false;
  native.name = Utf(env, name.get()).get();
  native.signature = "(";
  for (jsize i = 0; i < env->GetArrayLength(types.get()); ++i) {
    const LocalRef<jobject> type(env, env->GetObjectArrayElement(types.get(), i));
    const std::string signature = classes.signatureOf(env, static_cast<jclass>(type.get()));
    native.signature += signature;
    native.parameters += signature[0] == '[' ? 'L' : signature[0];
  }
  const std::string resultSignature = classes.signatureOf(env, result.get());
  native.signature += ")" + resultSignature;
  return resultSignature == "J" && native.parameters.find_first_not_of("JIZDL") == std::string::npos;
}

bool NativeTable::makeStandIn(Native& native, Target target) {
  native.types = {&ffi_type_pointer, &ffi_type_pointer};
  for (const char letter : native.parameters) native.types.push_back(typeOf(letter));
  const auto count = static_cast<unsigned>(native.types.size());
  if (ffi_prep_cif(&native.form, FFI_DEFAULT_ABI, count, &ffi_type_sint64, native.types.data()) != FFI_OK)
    return false;
  auto* closure = static_cast<ffi_closure*>(ffi_closure_alloc(sizeof(ffi_closure), &native.standIn));
  return closure != nullptr &&
         ffi_prep_closure_loc(closure, &native.form, target, &native, native.standIn) == FFI_OK;
}

bool NativeTable::bind(JNIEnv* env, bool standIns) const {
  for (const Owner& owner : owners) {
    std::vector<JNINativeMethod> methods;
    for (const Native& native : natives) {
      if (native.className != owner.name) continue;
      methods.push_back({const_cast<char*>(native.name.c_str()), const_cast<char*>(native.signature.c_str()),
                         standIns ? native.standIn : native.function});
    }
    if (env->RegisterNatives(owner.cls, methods.data(), static_cast<jint>(methods.size())) != JNI_OK) {
      clearFailure(env);
      return false;
    }
  }
  return true;
}

}  // namespace qvs

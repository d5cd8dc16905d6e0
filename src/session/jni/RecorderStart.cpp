// Loading of the recorder, which is a library of its own.
#include "session/jni/RecorderStart.h"

#include <cstdlib>
#include <string>

#include "platform/SharedLibrary.h"
#include "session/jni/NativeEntry.h"

namespace qvs {
namespace {

using Start = const char* (*)(JNIEnv*, const char* path, uint64_t maxBytes);

std::string start(JNIEnv* env, const char* path) {
  // For the life of the process: Java methods are bound to functions of it.
  static SharedLibrary& library = *new SharedLibrary;
  if (!library.isOpen() && !library.open("libqvs-recorder.so")) return library.lastError();
  const auto begin = library.symbol<Start>("qvsRecorderStart");
  if (begin == nullptr) return "libqvs-recorder.so is another version's";
  const char* mebibytes = std::getenv("QVS_RECORD_MIB");
  const uint64_t bytes = mebibytes != nullptr ? std::strtoull(mebibytes, nullptr, 10) << 20 : 0;
  const char* trouble = begin(env, path, bytes);
  return trouble != nullptr ? trouble : "";
}

}  // namespace

void startRecorderIfAsked(JNIEnv* env) {
  const char* path = std::getenv("QVS_RECORD");
  if (path == nullptr || *path == 0) return;
  const std::string trouble = start(env, path);
  if (trouble.empty()) return;
  // The log keeps the address of the text.
  static const std::string& reason = *new std::string("No recording of the native calls: " + trouble);
  failEntry(QVS_LABEL(nativeInitialize), {.reason = reason.c_str()});
}

}  // namespace qvs

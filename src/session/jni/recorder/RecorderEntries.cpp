// What leaves the recorder's library: for the transcoder, which starts it by an environment variable, and for Java.

#include <algorithm>
#include <string>

#include "platform/Guard.h"
#include "session/jni/recorder/CallRecorder.h"
#include "session/jni/Utf.h"

namespace {

constexpr jlong kBytesOfMiB = jlong{1} << 20;

}  // namespace

/// Null, or why no recording was begun; the text is good until the thread calls again. 0 bytes take the default.
extern "C" JNIEXPORT const char* qvsRecorderStart(JNIEnv* env, const char* path, uint64_t maxBytes) {
  thread_local std::string trouble;
  trouble = "no memory";
  qvs::guarded("qvsRecorderStart", [&] {
    trouble = qvs::CallRecorder::getInstance().start(
        env, path, maxBytes != 0 ? maxBytes : qvs::CallRecorder::kDefaultBytes);
  });
  return trouble.empty() ? nullptr : trouble.c_str();
}

extern "C" JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_session_Recording_start(JNIEnv* env, jclass,
                                                                                     jstring path,
                                                                                     jlong mebibytes) {
  const qvs::Utf name(env, path);
  if (name.get() == nullptr) return env->NewStringUTF("no file");
  const jlong bytes = std::clamp<jlong>(mebibytes, 0, jlong{1} << 40) * kBytesOfMiB;
  const char* trouble = qvsRecorderStart(env, name.get(), static_cast<uint64_t>(bytes));
  return trouble != nullptr ? env->NewStringUTF(trouble) : nullptr;
}

extern "C" JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_session_Recording_stop(JNIEnv* env, jclass) {
  qvs::guarded("Recording::stop", [&] { qvs::CallRecorder::getInstance().stop(env); });
}

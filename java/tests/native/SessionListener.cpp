// A module of the process that hears of sessions through what the library exports.

#include <jni.h>

#include <string>
#include <vector>

#include "session/MediaStreamContext.h"
#include "session/notify/TranscoderSessionNotifyManager.h"

namespace {

/// Keeps a session's id when it comes, with the sign turned when it goes. Used by one thread.
class SessionListener : public qvs::ITranscoderSessionNotifySession {
 public:
  uint32_t lockSession() override { return depth++ == 0 ? 0 : fail(); }
  uint32_t unlockSession() override { return --depth == 0 ? 0 : fail(); }

  uint32_t onCreateInstance(int64_t sessionId, qvs::MediaStreamContext* context) override {
    events.push_back(depth == 1 ? sessionId : 0);
    lastStream = context->streamName;
    return 0;
  }

  uint32_t onDestroyInstance(int64_t sessionId) override {
    events.push_back(depth == 1 ? -sessionId : 0);
    return 0;
  }

  std::vector<jlong> events;
  std::string lastStream;

 private:
  uint32_t fail() {
    events.push_back(0);
    return 0;
  }

  int depth = 0;
};

SessionListener listener;

}  // namespace

extern "C" JNIEXPORT void JNICALL Java_com_zarvo_qvs_transcoder_test_SessionListener_attach(JNIEnv*, jclass) {
  qvs::TranscoderSessionNotifyManager::getInstance()->addSessionListener(&listener);
}

extern "C" JNIEXPORT void JNICALL Java_com_zarvo_qvs_transcoder_test_SessionListener_detach(JNIEnv*, jclass) {
  qvs::TranscoderSessionNotifyManager::getInstance()->removeSessionListener(&listener);
}

/// What was heard since the last call.
extern "C" JNIEXPORT jlongArray JNICALL Java_com_zarvo_qvs_transcoder_test_SessionListener_events(JNIEnv* env,
                                                                                                  jclass) {
  const auto count = static_cast<jsize>(listener.events.size());
  const jlongArray array = env->NewLongArray(count);
  if (array != nullptr) env->SetLongArrayRegion(array, 0, count, listener.events.data());
  listener.events.clear();
  return array;
}

extern "C" JNIEXPORT jstring JNICALL
Java_com_zarvo_qvs_transcoder_test_SessionListener_lastStream(JNIEnv* env, jclass) {
  return env->NewStringUTF(listener.lastStream.c_str());
}

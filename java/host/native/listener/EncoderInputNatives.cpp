// The native side of EncoderInputTap. A handle is the listener's pointer.

#include "com_zarvo_qvs_host_session_EncoderInputTap.h"

#include "listener/EncoderInputListener.h"
#include "session/notify/TranscoderSessionNotifyManager.h"

#include <new>

using qvs::TranscoderSessionNotifyManager;
using qvs::host::EncoderInputListener;

namespace {

EncoderInputListener* listenerOf(jlong handle) {
  return reinterpret_cast<EncoderInputListener*>(static_cast<intptr_t>(handle));
}

}  // namespace

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_session_EncoderInputTap_attach(JNIEnv*, jclass,
                                                                               jlong session) {
  auto* listener = new (std::nothrow) EncoderInputListener;
  if (!listener) return 0;
  TranscoderSessionNotifyManager::getInstance()->addVideoFrameEncodeListener(session, listener);
  return static_cast<jlong>(reinterpret_cast<intptr_t>(listener));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_session_EncoderInputTap_ask(JNIEnv* env, jclass, jlong handle,
                                                                           jobject buffer, jint length) {
  auto* bytes = static_cast<uint8_t*>(env->GetDirectBufferAddress(buffer));
  if (!bytes || length <= 0 || length > env->GetDirectBufferCapacity(buffer)) return;
  listenerOf(handle)->ask({bytes, static_cast<size_t>(length)});
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_session_EncoderInputTap_taken(JNIEnv*, jclass,
                                                                                 jlong handle) {
  return listenerOf(handle)->taken();
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_session_EncoderInputTap_detach(JNIEnv*, jclass, jlong handle,
                                                                              jlong session) {
  TranscoderSessionNotifyManager::getInstance()->removeVideoFrameEncodeListener(session, listenerOf(handle));
  delete listenerOf(handle);
}

// The native side of FrameTap. A handle is the listener's pointer.

#include "com_zarvo_qvs_host_session_FrameTap.h"

#include "listener/DecodedFrameListener.h"
#include "session/notify/TranscoderSessionNotifyManager.h"

#include <algorithm>
#include <new>

using qvs::TranscoderSessionNotifyManager;
using qvs::host::DecodedFrameListener;

namespace {

DecodedFrameListener* listenerOf(jlong handle) {
  return reinterpret_cast<DecodedFrameListener*>(static_cast<intptr_t>(handle));
}

}  // namespace

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_session_FrameTap_attach(JNIEnv*, jclass, jlong session) {
  auto* listener = new (std::nothrow) DecodedFrameListener;
  if (!listener) return 0;
  TranscoderSessionNotifyManager::getInstance()->addVideoFrameDecodeListener(session, listener);
  return static_cast<jlong>(reinterpret_cast<intptr_t>(listener));
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_session_FrameTap_length(JNIEnv*, jclass, jlong handle) {
  return static_cast<jint>(listenerOf(handle)->frame().size());
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_session_FrameTap_copy(JNIEnv* env, jclass, jlong handle,
                                                                     jbyteArray bytes) {
  const auto& frame = listenerOf(handle)->frame();
  const jsize size = std::min(env->GetArrayLength(bytes), static_cast<jsize>(frame.size()));
  env->SetByteArrayRegion(bytes, 0, size, reinterpret_cast<const jbyte*>(frame.data()));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_session_FrameTap_detach(JNIEnv*, jclass, jlong handle,
                                                                       jlong session) {
  TranscoderSessionNotifyManager::getInstance()->removeVideoFrameDecodeListener(session, listenerOf(handle));
  delete listenerOf(handle);
}

// The native side of PictureTap. A handle is the listener's pointer.

#include "com_zarvo_qvs_host_PictureTap.h"

#include "listener/DecodedPictureListener.h"
#include "session/notify/TranscoderSessionNotifyManager.h"

#include <algorithm>
#include <new>

using qvs::TranscoderSessionNotifyManager;
using qvs::host::DecodedPictureListener;

namespace {

DecodedPictureListener* listenerOf(jlong handle) {
  return reinterpret_cast<DecodedPictureListener*>(static_cast<intptr_t>(handle));
}

}  // namespace

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_PictureTap_attach(JNIEnv*, jclass, jlong session) {
  auto* listener = new (std::nothrow) DecodedPictureListener;
  if (!listener) return 0;
  TranscoderSessionNotifyManager::getInstance()->addVideoFrameDecodeListener(session, listener);
  return static_cast<jlong>(reinterpret_cast<intptr_t>(listener));
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_PictureTap_length(JNIEnv*, jclass, jlong handle) {
  return static_cast<jint>(listenerOf(handle)->picture().size());
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_PictureTap_copy(JNIEnv* env, jclass, jlong handle,
                                                               jbyteArray bytes) {
  const auto& picture = listenerOf(handle)->picture();
  const jsize size = std::min(env->GetArrayLength(bytes), static_cast<jsize>(picture.size()));
  env->SetByteArrayRegion(bytes, 0, size, reinterpret_cast<const jbyte*>(picture.data()));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_PictureTap_detach(JNIEnv*, jclass, jlong handle,
                                                                 jlong session) {
  TranscoderSessionNotifyManager::getInstance()->removeVideoFrameDecodeListener(session, listenerOf(handle));
  delete listenerOf(handle);
}

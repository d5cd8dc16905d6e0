// The native side of PictureMeter. A handle is the object's pointer.

#include "com_zarvo_qvs_host_media_PictureMeter.h"

#include "media/JavaScopes.h"
#include "media/PictureMeter.h"

#include <array>
#include <memory>
#include <new>

using qvs::host::handleOf;
using qvs::host::MediaStatus;
using qvs::host::object;
using qvs::host::passed;
using qvs::host::PictureDistance;
using qvs::host::PictureMeter;
using qvs::host::ReadBytes;
using qvs::host::toString;

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_PictureMeter_open(JNIEnv* env, jclass, jstring codec,
                                                                        jboolean units) {
  std::unique_ptr<PictureMeter> meter(new (std::nothrow) PictureMeter);
  const MediaStatus status =
      meter ? meter->open(toString(env, codec), units) : MediaStatus::failure("out of memory");
  return passed(env, status) ? handleOf(meter.release()) : 0;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_PictureMeter_send(JNIEnv* env, jclass, jlong handle,
                                                                       jbyteArray bytes, jint offset,
                                                                       jint length, jlong time) {
  PictureMeter& meter = *object<PictureMeter>(handle);
  if (!bytes) {
    passed(env, meter.send({}, 0));
    return;
  }
  if (offset < 0 || length <= 0 || length > env->GetArrayLength(bytes) - offset) return;
  const ReadBytes elements(env, bytes);
  if (elements.data()) passed(env, meter.send({elements.data() + offset, static_cast<size_t>(length)}, time));
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_PictureMeter_receive(JNIEnv*, jclass, jlong handle) {
  return object<PictureMeter>(handle)->receive();
}

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_PictureMeter_time(JNIEnv*, jclass, jlong handle) {
  return object<PictureMeter>(handle)->time();
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_PictureMeter_measure(JNIEnv* env, jclass,
                                                                              jlong handle, jobject planes,
                                                                              jint width, jint height,
                                                                              jdoubleArray result) {
  const auto* bytes = static_cast<const uint8_t*>(env->GetDirectBufferAddress(planes));
  if (!bytes) return JNI_FALSE;
  PictureDistance distance;
  const auto capacity = static_cast<size_t>(env->GetDirectBufferCapacity(planes));
  if (!object<PictureMeter>(handle)->measure({bytes, capacity}, width, height, &distance)) return JNI_FALSE;
  const std::array<jdouble, 2> values{distance.squaredError, distance.similarity};
  env->SetDoubleArrayRegion(result, 0, static_cast<jsize>(values.size()), values.data());
  return JNI_TRUE;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_PictureMeter_close(JNIEnv*, jclass, jlong handle) {
  delete object<PictureMeter>(handle);
}

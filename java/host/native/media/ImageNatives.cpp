// The native side of ImageEncoder. A handle is the object's pointer.

#include "com_zarvo_qvs_host_media_ImageEncoder.h"

#include "media/ImageEncoder.h"
#include "media/JavaScopes.h"

#include <new>

using qvs::host::handleOf;
using qvs::host::ImageEncoder;
using qvs::host::ImageFormat;
using qvs::host::MediaStatus;
using qvs::host::object;
using qvs::host::passed;
using qvs::host::toArray;

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_ImageEncoder_create(JNIEnv* env, jclass, jint format) {
  auto* encoder = new (std::nothrow) ImageEncoder(static_cast<ImageFormat>(format));
  if (!encoder) passed(env, MediaStatus::failure("out of memory"));
  return handleOf(encoder);
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_media_ImageEncoder_encode(JNIEnv* env, jclass,
                                                                               jlong handle, jobject pixels,
                                                                               jint width, jint height) {
  const auto* bytes = static_cast<const uint8_t*>(env->GetDirectBufferAddress(pixels));
  if (!bytes || width <= 0 || height <= 0 ||
      env->GetDirectBufferCapacity(pixels) < jlong{4} * width * height) {
    passed(env, MediaStatus::failure("the buffer doesn't hold the picture"));
    return nullptr;
  }
  ImageEncoder& encoder = *object<ImageEncoder>(handle);
  if (!passed(env, encoder.encode(bytes, width, height))) return nullptr;
  return toArray(env, encoder.packet().data, encoder.packet().size);
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_ImageEncoder_close(JNIEnv*, jclass, jlong handle) {
  delete object<ImageEncoder>(handle);
}

// The native side of PictureDecoder. A handle is the object's pointer.

#include "com_zarvo_qvs_host_media_PictureDecoder.h"

#include "media/InputFile.h"
#include "media/JavaScopes.h"
#include "media/PictureDecoder.h"

#include <array>
#include <memory>
#include <new>

using qvs::host::handleOf;
using qvs::host::InputFile;
using qvs::host::MediaStatus;
using qvs::host::object;
using qvs::host::passed;
using qvs::host::PictureDecoder;
using qvs::host::ReadBytes;
using qvs::host::StreamKind;
using qvs::host::toString;

#define FACT(name) com_zarvo_qvs_host_media_PictureDecoder_FACT_##name
#define FLAG(name) com_zarvo_qvs_host_media_PictureDecoder_FLAG_##name

namespace {

/// A plane's place in the bytes of a picture. The last row ends with its last sample: what fills its stride may not
/// be there to be read.
struct Plane {
  const uint8_t* bytes;
  jsize at;
  jsize length;
};

std::array<Plane, 3> planesOf(const AVFrame& picture) {
  std::array<Plane, 3> planes{};
  jsize at = 0;
  for (size_t i = 0; i < planes.size(); i++) {
    const int width = i ? (picture.width + 1) / 2 : picture.width;
    const int rows = i ? (picture.height + 1) / 2 : picture.height;
    planes[i] = {picture.data[i], at, picture.linesize[i] * (rows - 1) + width};
    at += picture.linesize[i] * rows;
  }
  return planes;
}

}  // namespace

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_knows(JNIEnv* env, jclass,
                                                                              jstring codec) {
  return PictureDecoder::knows(toString(env, codec).c_str());
}

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_open(JNIEnv* env, jclass, jlong reader,
                                                                          jint matrix, jboolean fullRange,
                                                                          jint threads) {
  std::unique_ptr<PictureDecoder> decoder(new (std::nothrow) PictureDecoder);
  const MediaStatus status =
      decoder ? decoder->open(object<InputFile>(reader)->stream(StreamKind::kVideo),
                              {static_cast<AVColorSpace>(matrix), fullRange == JNI_TRUE}, threads)
              : MediaStatus::failure("out of memory");
  return passed(env, status) ? handleOf(decoder.release()) : 0;
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_send(JNIEnv* env, jclass,
                                                                             jlong handle, jbyteArray bytes,
                                                                             jlong time, jint flags) {
  const ReadBytes elements(env, bytes);
  if (!elements.data()) return JNI_FALSE;
  const int64_t pts = flags & FLAG(SHOWN_TIME) ? time : AV_NOPTS_VALUE;
  const int packetFlags =
      (flags & FLAG(KEY) ? AV_PKT_FLAG_KEY : 0) | (flags & FLAG(HIDDEN) ? AV_PKT_FLAG_DISCARD : 0);
  return object<PictureDecoder>(handle)
      ->send(elements.data(), static_cast<size_t>(env->GetArrayLength(bytes)), pts,
             flags & FLAG(SHOWN_TIME) ? AV_NOPTS_VALUE : time, packetFlags)
      .ok();
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_sendEnd(JNIEnv*, jclass, jlong handle) {
  object<PictureDecoder>(handle)->sendEnd();
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_receive(JNIEnv* env, jclass, jlong handle,
                                                                            jlongArray facts) {
  PictureDecoder& decoder = *object<PictureDecoder>(handle);
  const bool came = decoder.receive();
  std::array<jlong, com_zarvo_qvs_host_media_PictureDecoder_FACTS> values{};
  values[FACT(LOST)] = decoder.takeLost();
  jint bytes = 0;
  if (came) {
    const AVFrame& picture = decoder.picture();
    const auto planes = planesOf(picture);
    bytes = planes[2].at + planes[2].length;
    values[FACT(WIDTH)] = picture.width;
    values[FACT(HEIGHT)] = picture.height;
    values[FACT(STRIDE_Y)] = picture.linesize[0];
    values[FACT(STRIDE_C)] = picture.linesize[1];
    values[FACT(INTERLACED)] = picture.interlaced_frame;
    values[FACT(BOTTOM_FIRST)] = !picture.top_field_first;
    values[FACT(PTS)] = decoder.pts();
    values[FACT(DURATION)] = decoder.duration();
    values[FACT(DAMAGED)] = decoder.isDamaged();
  }
  env->SetLongArrayRegion(facts, 0, static_cast<jsize>(values.size()), values.data());
  return bytes;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_copy(JNIEnv* env, jclass, jlong handle,
                                                                         jbyteArray into) {
  for (const Plane& plane : planesOf(object<PictureDecoder>(handle)->picture()))
    env->SetByteArrayRegion(into, plane.at, plane.length, reinterpret_cast<const jbyte*>(plane.bytes));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_PictureDecoder_close(JNIEnv*, jclass, jlong handle) {
  delete object<PictureDecoder>(handle);
}

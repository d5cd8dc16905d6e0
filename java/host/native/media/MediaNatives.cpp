// The native side of MediaReader, MediaWriter and PictureQuality. A handle is the object's pointer; each Java
// object hands its own back once to be deleted.

#include "com_zarvo_qvs_host_MediaReader.h"
#include "com_zarvo_qvs_host_MediaWriter.h"
#include "com_zarvo_qvs_host_PictureQuality.h"

#include "media/InputFile.h"
#include "media/JavaScopes.h"
#include "media/OutputFile.h"
#include "media/PictureComparison.h"

#include <array>
#include <memory>
#include <new>

using qvs::host::ComparisonResult;
using qvs::host::ExcludedArea;
using qvs::host::InputFile;
using qvs::host::MediaStatus;
using qvs::host::OutputFile;
using qvs::host::OutputPacket;
using qvs::host::OutputStream;
using qvs::host::PictureComparison;
using qvs::host::ReadBytes;
using qvs::host::StreamKind;
using qvs::host::toArray;
using qvs::host::toBytes;
using qvs::host::toString;

namespace {

template <typename T>
T* object(jlong handle) {
  return reinterpret_cast<T*>(static_cast<intptr_t>(handle));
}

jlong handleOf(void* pointer) {
  return static_cast<jlong>(reinterpret_cast<intptr_t>(pointer));
}

/// Raises a MediaException for a failure; true when the caller may go on.
bool passed(JNIEnv* env, const MediaStatus& status) {
  if (status.ok()) return true;
  const jclass type = env->FindClass("com/zarvo/qvs/host/MediaException");
  if (type) env->ThrowNew(type, status.text().c_str());
  return false;
}

template <size_t N>
void store(JNIEnv* env, jlongArray array, const std::array<jlong, N>& values) {
  env->SetLongArrayRegion(array, 0, static_cast<jsize>(N), values.data());
}

}  // namespace

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_MediaReader_open(JNIEnv* env, jclass, jstring path) {
  av_log_set_level(AV_LOG_QUIET);
  std::unique_ptr<InputFile> file(new (std::nothrow) InputFile);
  const MediaStatus status = file ? file->open(toString(env, path)) : MediaStatus::failure("out of memory");
  return passed(env, status) ? handleOf(file.release()) : 0;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaReader_close(JNIEnv*, jclass, jlong handle) {
  delete object<InputFile>(handle);
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_MediaReader_has(JNIEnv*, jclass, jlong handle, jint kind) {
  return object<InputFile>(handle)->has(static_cast<StreamKind>(kind));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaReader_ignore(JNIEnv*, jclass, jlong handle, jint kind) {
  object<InputFile>(handle)->ignore(static_cast<StreamKind>(kind));
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_MediaReader_codecName(JNIEnv* env, jclass, jlong handle,
                                                                        jint kind) {
  return env->NewStringUTF(object<InputFile>(handle)->codecName(static_cast<StreamKind>(kind)));
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_MediaReader_codecConfig(JNIEnv* env, jclass,
                                                                             jlong handle, jint kind) {
  const AVCodecParameters& codec = *object<InputFile>(handle)->stream(static_cast<StreamKind>(kind)).codecpar;
  return toArray(env, codec.extradata, codec.extradata ? codec.extradata_size : 0);
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_MediaReader_pixelFormat(JNIEnv* env, jclass, jlong handle) {
  return env->NewStringUTF(object<InputFile>(handle)->pixelFormatName());
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaReader_videoProperties(JNIEnv* env, jclass, jlong handle,
                                                                           jlongArray values) {
  const InputFile& file = *object<InputFile>(handle);
  const AVStream& stream = file.stream(StreamKind::kVideo);
  store<7>(env, values,
           {stream.codecpar->width, stream.codecpar->height, file.frameRate().num, file.frameRate().den,
            stream.time_base.num, stream.time_base.den, file.durationMs(StreamKind::kVideo)});
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaReader_audioProperties(JNIEnv* env, jclass, jlong handle,
                                                                           jlongArray values) {
  const InputFile& file = *object<InputFile>(handle);
  const AVStream& stream = file.stream(StreamKind::kAudio);
  store<5>(env, values,
           {stream.codecpar->sample_rate, stream.codecpar->ch_layout.nb_channels, stream.time_base.num,
            stream.time_base.den, file.durationMs(StreamKind::kAudio)});
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_MediaReader_read(JNIEnv* env, jclass, jlong handle,
                                                                      jlongArray facts) {
  InputFile& file = *object<InputFile>(handle);
  bool atEnd = false;
  if (!passed(env, file.next(&atEnd)) || atEnd) return nullptr;
  const AVPacket& packet = file.packet();
  const jbyteArray bytes = toArray(env, packet.data, packet.size);
  if (!bytes) return nullptr;
  const InputFile::Padding padding = file.padding();
  store<6>(env, facts,
           {static_cast<jlong>(file.kind()), file.pts(), packet.duration, padding.start, padding.end,
            packet.flags & AV_PKT_FLAG_KEY ? 1 : 0});
  return bytes;
}

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_MediaWriter_create(JNIEnv* env, jclass, jstring path,
                                                                   jstring format) {
  av_log_set_level(AV_LOG_QUIET);
  std::unique_ptr<OutputFile> file(new (std::nothrow) OutputFile);
  const MediaStatus status =
      file ? file->create(toString(env, path), toString(env, format)) : MediaStatus::failure("out of memory");
  return passed(env, status) ? handleOf(file.release()) : 0;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaWriter_addVideo(JNIEnv* env, jclass, jlong handle,
                                                                    jstring codec, jbyteArray config,
                                                                    jint timeBaseNum, jint timeBaseDen,
                                                                    jint width, jint height, jint rateNum,
                                                                    jint rateDen) {
  OutputStream stream;
  stream.codecName = toString(env, codec);
  stream.config = toBytes(env, config);
  stream.timeBase = {timeBaseNum, timeBaseDen};
  stream.width = width;
  stream.height = height;
  stream.frameRate = {rateNum, rateDen};
  passed(env, object<OutputFile>(handle)->addStream(stream));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaWriter_addAudio(JNIEnv* env, jclass, jlong handle,
                                                                    jstring codec, jbyteArray config,
                                                                    jint timeBaseNum, jint timeBaseDen,
                                                                    jint sampleRate, jint channels,
                                                                    jint frameSamples, jint delaySamples) {
  OutputStream stream;
  stream.codecName = toString(env, codec);
  stream.config = toBytes(env, config);
  stream.timeBase = {timeBaseNum, timeBaseDen};
  stream.sampleRate = sampleRate;
  stream.channels = channels;
  stream.frameSamples = frameSamples;
  stream.delaySamples = delaySamples;
  passed(env, object<OutputFile>(handle)->addStream(stream));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaWriter_begin(JNIEnv* env, jclass, jlong handle,
                                                                 jboolean keepTimes) {
  passed(env, object<OutputFile>(handle)->begin(keepTimes));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaWriter_write(JNIEnv* env, jclass, jlong handle,
                                                                 jint stream, jbyteArray bytes, jint offset,
                                                                 jint length, jlong pts, jlong dts,
                                                                 jlong duration, jlong discard,
                                                                 jboolean key) {
  if (!bytes || offset < 0 || length < 0 ||
      static_cast<jlong>(offset) + length > env->GetArrayLength(bytes)) {
    passed(env, MediaStatus::failure("packet range lies outside its array"));
    return;
  }
  MediaStatus status;
  {
    const ReadBytes elements(env, bytes);
    const OutputPacket packet{static_cast<size_t>(stream),
                              elements.data() + offset,
                              static_cast<size_t>(length),
                              pts,
                              dts,
                              duration,
                              discard,
                              key == JNI_TRUE};
    status =
        elements.data() ? object<OutputFile>(handle)->write(packet) : MediaStatus::failure("out of memory");
  }
  passed(env, status);
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaWriter_finish(JNIEnv* env, jclass, jlong handle) {
  passed(env, object<OutputFile>(handle)->finish());
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_MediaWriter_close(JNIEnv*, jclass, jlong handle) {
  delete object<OutputFile>(handle);
}

JNIEXPORT jdouble JNICALL Java_com_zarvo_qvs_host_PictureQuality_compare(JNIEnv* env, jclass, jstring source,
                                                                         jstring rendition, jint x, jint y,
                                                                         jint width, jint height) {
  av_log_set_level(AV_LOG_QUIET);
  ComparisonResult result;
  PictureComparison comparison;
  const ExcludedArea excluded{x, y, width, height};
  passed(env, comparison.run(toString(env, source), toString(env, rendition), excluded, &result));
  return result.psnrDb;
}

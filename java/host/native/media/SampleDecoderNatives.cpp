// The native side of SampleDecoder. A handle is the object's pointer.

#include "com_zarvo_qvs_host_media_SampleDecoder.h"

#include "media/JavaScopes.h"
#include "media/SampleDecoder.h"

#include <array>
#include <memory>
#include <new>

using qvs::host::CodedAudio;
using qvs::host::handleOf;
using qvs::host::JavaRecord;
using qvs::host::MediaStatus;
using qvs::host::object;
using qvs::host::passed;
using qvs::host::ReadBytes;
using qvs::host::SampleDecoder;
using qvs::host::toBytes;
using qvs::host::toString;

#define FACT(name) com_zarvo_qvs_host_media_SampleDecoder_FACT_##name

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_SampleDecoder_open(JNIEnv* env, jclass, jstring codec,
                                                                         jbyteArray config,
                                                                         jobject properties) {
  CodedAudio audio;
  audio.codecName = toString(env, codec);
  audio.config = toBytes(env, config);
  const JavaRecord record(env, properties);
  audio.timeBase = {record.getInt("timeBaseNum"), record.getInt("timeBaseDen")};
  audio.sampleRate = record.getInt("sampleRate");
  audio.channels = record.getInt("channels");
  audio.channelMask = static_cast<uint64_t>(record.get("channelMask"));
  audio.blockAlign = record.getInt("blockAlign");
  audio.bitsPerSample = record.getInt("bitsPerSample");
  audio.bitRate = record.get("bitRate");
  audio.codecTag = static_cast<uint32_t>(record.get("codecTag"));
  if (env->ExceptionCheck()) return 0;
  std::unique_ptr<SampleDecoder> decoder(new (std::nothrow) SampleDecoder);
  const MediaStatus status = decoder ? decoder->open(audio) : MediaStatus::failure("out of memory");
  return passed(env, status) ? handleOf(decoder.release()) : 0;
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_SampleDecoder_send(JNIEnv* env, jclass, jlong handle,
                                                                            jbyteArray bytes, jlong pts) {
  SampleDecoder& decoder = *object<SampleDecoder>(handle);
  if (!bytes) return decoder.send(nullptr, 0, 0).ok();
  const ReadBytes elements(env, bytes);
  return elements.data() &&
         decoder.send(elements.data(), static_cast<size_t>(env->GetArrayLength(bytes)), pts).ok();
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_media_SampleDecoder_receive(JNIEnv* env, jclass, jlong handle,
                                                                           jlongArray facts) {
  SampleDecoder& decoder = *object<SampleDecoder>(handle);
  if (!decoder.receive()) return 0;
  std::array<jlong, com_zarvo_qvs_host_media_SampleDecoder_FACTS> values{};
  values[FACT(RATE)] = decoder.sampleRate();
  values[FACT(CHANNELS)] = decoder.channels();
  values[FACT(PTS)] = decoder.pts();
  env->SetLongArrayRegion(facts, 0, static_cast<jsize>(values.size()), values.data());
  return static_cast<jint>(decoder.samples().size() * sizeof(int16_t));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_SampleDecoder_copy(JNIEnv* env, jclass, jlong handle,
                                                                        jbyteArray into) {
  const std::vector<int16_t>& samples = object<SampleDecoder>(handle)->samples();
  env->SetByteArrayRegion(into, 0, static_cast<jsize>(samples.size() * sizeof(int16_t)),
                          reinterpret_cast<const jbyte*>(samples.data()));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_SampleDecoder_close(JNIEnv*, jclass, jlong handle) {
  delete object<SampleDecoder>(handle);
}

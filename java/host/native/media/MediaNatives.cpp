// The native side of MediaReader, MediaWriter and VideoQuality. A handle is the object's pointer; each Java
// object hands its own back once to be deleted.

#include "com_zarvo_qvs_host_job_VideoQuality.h"
#include "com_zarvo_qvs_host_media_MediaReader.h"
#include "com_zarvo_qvs_host_media_Muxer.h"

#include "media/FrameComparison.h"
#include "media/InputFile.h"
#include "media/JavaScopes.h"
#include "media/OutputFile.h"

#include <array>
#include <memory>
#include <new>

using qvs::host::ComparisonResult;
using qvs::host::DisplayMatrix;
using qvs::host::ExcludedArea;
using qvs::host::FrameComparison;
using qvs::host::handleOf;
using qvs::host::InputFile;
using qvs::host::InputRequest;
using qvs::host::JavaRecord;
using qvs::host::MediaStatus;
using qvs::host::object;
using qvs::host::OutputFile;
using qvs::host::OutputPacket;
using qvs::host::OutputStream;
using qvs::host::passed;
using qvs::host::ReadBytes;
using qvs::host::StreamKind;
using qvs::host::toArray;
using qvs::host::toBytes;
using qvs::host::toString;

// Where Java keeps a packet's facts, by the names that it gives to the places.
#define FACT(name) com_zarvo_qvs_host_media_MediaReader_FACT_##name
#define FLAG(name) com_zarvo_qvs_host_media_MediaReader_FLAG_##name

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_MediaReader_create(JNIEnv* env, jclass) {
  av_log_set_level(AV_LOG_QUIET);
  auto* file = new (std::nothrow) InputFile;
  if (!file) passed(env, MediaStatus::failure("out of memory"));
  return handleOf(file);
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_open(JNIEnv* env, jclass, jlong handle,
                                                                      jstring address, jboolean live,
                                                                      jstring demuxer, jstring options,
                                                                      jboolean anyFormat, jlong patienceMs) {
  passed(env, object<InputFile>(handle)->open(InputRequest{.address = toString(env, address),
                                                           .live = live == JNI_TRUE,
                                                           .demuxer = toString(env, demuxer),
                                                           .options = toString(env, options),
                                                           .anyFormat = anyFormat == JNI_TRUE,
                                                           .patienceMs = patienceMs}));
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_MediaReader_isEndless(JNIEnv*, jclass,
                                                                               jlong handle) {
  return object<InputFile>(handle)->isEndless();
}

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_MediaReader_reconnects(JNIEnv*, jclass, jlong handle) {
  return object<InputFile>(handle)->reconnects();
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_stop(JNIEnv*, jclass, jlong handle) {
  object<InputFile>(handle)->stop();
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_close(JNIEnv*, jclass, jlong handle) {
  delete object<InputFile>(handle);
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_MediaReader_has(JNIEnv*, jclass, jlong handle,
                                                                         jint kind) {
  return object<InputFile>(handle)->has(static_cast<StreamKind>(kind));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_ignore(JNIEnv*, jclass, jlong handle,
                                                                        jint kind) {
  object<InputFile>(handle)->ignore(static_cast<StreamKind>(kind));
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_media_MediaReader_videoCodecName(JNIEnv* env, jclass,
                                                                                   jlong handle) {
  return env->NewStringUTF(object<InputFile>(handle)->codecName(StreamKind::kVideo));
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_media_MediaReader_videoConfig(JNIEnv* env, jclass,
                                                                                   jlong handle) {
  const AVCodecParameters& codec = *object<InputFile>(handle)->stream(StreamKind::kVideo).codecpar;
  return toArray(env, codec.extradata, codec.extradata ? codec.extradata_size : 0);
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_MediaReader_isProgressive(JNIEnv*, jclass,
                                                                                   jlong handle) {
  return object<InputFile>(handle)->stream(StreamKind::kVideo).codecpar->field_order == AV_FIELD_PROGRESSIVE;
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_media_MediaReader_pixelFormat(JNIEnv* env, jclass,
                                                                                jlong handle) {
  return env->NewStringUTF(object<InputFile>(handle)->pixelFormatName());
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_videoProperties(JNIEnv* env, jclass,
                                                                                 jlong handle,
                                                                                 jobject properties) {
  const InputFile& file = *object<InputFile>(handle);
  const AVStream& stream = file.stream(StreamKind::kVideo);
  const AVCodecParameters& codec = *stream.codecpar;
  const DisplayMatrix display = file.displayMatrix();
  const JavaRecord record(env, properties);
  record.set("width", codec.width);
  record.set("height", codec.height);
  record.set("frameRateNum", file.frameRate().num);
  record.set("frameRateDen", file.frameRate().den);
  record.set("timeBaseNum", stream.time_base.num);
  record.set("timeBaseDen", stream.time_base.den);
  record.set("durationMs", file.durationMs(stream));
  record.set("pixelAspectNum", file.pixelAspect().num);
  record.set("pixelAspectDen", file.pixelAspect().den);
  record.set("bitRate", file.bitRate());
  record.set("primaries", codec.color_primaries);
  record.set("transfer", codec.color_trc);
  record.set("matrix", codec.color_space);
  record.set("fullRange", file.fullRange());
  record.set("hasChroma", file.hasChroma());
  record.set("displayA", display[0]);
  record.set("displayB", display[1]);
  record.set("displayC", display[2]);
  record.set("displayD", display[3]);
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_media_MediaReader_audioTracks(JNIEnv*, jclass, jlong handle) {
  return static_cast<jint>(object<InputFile>(handle)->audioTracks());
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_media_MediaReader_selectedAudio(JNIEnv*, jclass,
                                                                               jlong handle) {
  return object<InputFile>(handle)->selectedAudio();
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_selectAudio(JNIEnv*, jclass, jlong handle,
                                                                             jint track) {
  object<InputFile>(handle)->selectAudio(static_cast<size_t>(track));
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_media_MediaReader_audioCodecName(JNIEnv* env, jclass,
                                                                                   jlong handle, jint track) {
  const AVStream& stream = object<InputFile>(handle)->audioTrack(static_cast<size_t>(track));
  return env->NewStringUTF(avcodec_get_name(stream.codecpar->codec_id));
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_media_MediaReader_audioLanguage(JNIEnv* env, jclass,
                                                                                  jlong handle, jint track) {
  return env->NewStringUTF(object<InputFile>(handle)->language(static_cast<size_t>(track)).c_str());
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_media_MediaReader_audioConfig(JNIEnv* env, jclass,
                                                                                   jlong handle, jint track) {
  const AVCodecParameters& codec =
      *object<InputFile>(handle)->audioTrack(static_cast<size_t>(track)).codecpar;
  return toArray(env, codec.extradata, codec.extradata ? codec.extradata_size : 0);
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_audioProperties(JNIEnv* env, jclass,
                                                                                 jlong handle, jint track,
                                                                                 jobject properties) {
  const InputFile& file = *object<InputFile>(handle);
  const AVStream& stream = file.audioTrack(static_cast<size_t>(track));
  const AVCodecParameters& codec = *stream.codecpar;
  const JavaRecord record(env, properties);
  record.set("sampleRate", codec.sample_rate);
  record.set("channels", codec.ch_layout.nb_channels);
  record.set("timeBaseNum", stream.time_base.num);
  record.set("timeBaseDen", stream.time_base.den);
  record.set("durationMs", file.durationMs(stream));
  record.set("channelMask", codec.ch_layout.order == AV_CHANNEL_ORDER_NATIVE
                                ? static_cast<int64_t>(codec.ch_layout.u.mask)
                                : 0);
  record.set("blockAlign", codec.block_align);
  record.set("bitsPerSample", codec.bits_per_coded_sample);
  record.set("bitRate", codec.bit_rate);
  record.set("codecTag", codec.codec_tag);
}

JNIEXPORT jboolean JNICALL Java_com_zarvo_qvs_host_media_MediaReader_isSearchable(JNIEnv*, jclass,
                                                                                  jlong handle) {
  return object<InputFile>(handle)->isSearchable();
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_MediaReader_seek(JNIEnv* env, jclass, jlong handle,
                                                                      jlong pts) {
  passed(env, object<InputFile>(handle)->seek(pts));
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_media_MediaReader_read(JNIEnv* env, jclass, jlong handle,
                                                                            jlongArray facts) {
  InputFile& file = *object<InputFile>(handle);
  bool atEnd = false;
  if (!passed(env, file.next(&atEnd)) || atEnd) return nullptr;
  const AVPacket& packet = file.packet();
  const jbyteArray bytes = toArray(env, packet.data, packet.size);
  if (!bytes) return nullptr;
  const InputFile::Padding padding = file.padding();
  size_t configSize = 0;
  const bool newConfig = file.newConfig(&configSize) != nullptr;
  std::array<jlong, com_zarvo_qvs_host_media_MediaReader_FACTS> values{};
  values[FACT(KIND)] = static_cast<jlong>(file.kind());
  values[FACT(PTS)] = file.pts();
  values[FACT(DURATION)] = packet.duration;
  values[FACT(PADDING_START)] = padding.start;
  values[FACT(PADDING_END)] = padding.end;
  values[FACT(FLAGS)] = (packet.flags & AV_PKT_FLAG_KEY ? FLAG(KEY) : 0) |
                        (packet.flags & AV_PKT_FLAG_DISPOSABLE ? FLAG(DISPOSABLE) : 0) |
                        (packet.flags & AV_PKT_FLAG_DISCARD ? FLAG(HIDDEN) : 0) |
                        (newConfig ? FLAG(NEW_CONFIG) : 0);
  values[FACT(TIME_KIND)] = static_cast<jlong>(file.timeKind());
  env->SetLongArrayRegion(facts, 0, static_cast<jsize>(values.size()), values.data());
  return bytes;
}

JNIEXPORT jbyteArray JNICALL Java_com_zarvo_qvs_host_media_MediaReader_newConfig(JNIEnv* env, jclass,
                                                                                 jlong handle) {
  size_t size = 0;
  const uint8_t* config = object<InputFile>(handle)->newConfig(&size);
  return toArray(env, config, static_cast<int>(size));
}

JNIEXPORT jstring JNICALL Java_com_zarvo_qvs_host_media_MediaReader_shortfall(JNIEnv* env, jclass,
                                                                              jlong handle) {
  return env->NewStringUTF(object<InputFile>(handle)->shortfall().c_str());
}

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_Muxer_create(JNIEnv* env, jclass, jstring path,
                                                                   jstring format, jboolean segmented) {
  av_log_set_level(AV_LOG_QUIET);
  std::unique_ptr<OutputFile> file(new (std::nothrow) OutputFile);
  const MediaStatus status =
      file ? file->create(toString(env, path), toString(env, format), segmented == JNI_TRUE)
           : MediaStatus::failure("out of memory");
  return passed(env, status) ? handleOf(file.release()) : 0;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_addVideo(JNIEnv* env, jclass, jlong handle,
                                                                    jstring codec, jbyteArray config,
                                                                    jobject properties) {
  OutputStream stream;
  stream.codecName = toString(env, codec);
  stream.config = toBytes(env, config);
  const JavaRecord record(env, properties);
  stream.timeBase = {record.getInt("timeBaseNum"), record.getInt("timeBaseDen")};
  stream.width = record.getInt("width");
  stream.height = record.getInt("height");
  stream.frameRate = {record.getInt("frameRateNum"), record.getInt("frameRateDen")};
  stream.pixelAspect = {record.getInt("pixelAspectNum"), record.getInt("pixelAspectDen")};
  stream.primaries = static_cast<AVColorPrimaries>(record.get("primaries"));
  stream.transfer = static_cast<AVColorTransferCharacteristic>(record.get("transfer"));
  stream.matrix = static_cast<AVColorSpace>(record.get("matrix"));
  stream.range = record.get("fullRange") ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  stream.display = {record.getInt("displayA"), record.getInt("displayB"), record.getInt("displayC"),
                    record.getInt("displayD")};
  if (env->ExceptionCheck()) return;
  passed(env, object<OutputFile>(handle)->addStream(stream));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_addAudio(JNIEnv* env, jclass, jlong handle,
                                                                    jstring codec, jbyteArray config,
                                                                    jobject properties) {
  OutputStream stream;
  stream.codecName = toString(env, codec);
  stream.config = toBytes(env, config);
  const JavaRecord record(env, properties);
  stream.timeBase = {record.getInt("timeBaseNum"), record.getInt("timeBaseDen")};
  stream.sampleRate = record.getInt("sampleRate");
  stream.channels = record.getInt("channels");
  stream.frameSamples = record.getInt("frameSamples");
  stream.delaySamples = record.getInt("delaySamples");
  if (env->ExceptionCheck()) return;
  passed(env, object<OutputFile>(handle)->addStream(stream));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_setOption(JNIEnv* env, jclass, jlong handle,
                                                                     jstring name, jstring value) {
  object<OutputFile>(handle)->setOption(toString(env, name), toString(env, value));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_begin(JNIEnv* env, jclass, jlong handle,
                                                                 jboolean keepTimes) {
  passed(env, object<OutputFile>(handle)->begin(keepTimes));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_write(JNIEnv* env, jclass, jlong handle,
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

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_cut(JNIEnv* env, jclass, jlong handle,
                                                               jstring nextPath) {
  passed(env, object<OutputFile>(handle)->cut(toString(env, nextPath)));
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_finish(JNIEnv* env, jclass, jlong handle) {
  passed(env, object<OutputFile>(handle)->finish());
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_Muxer_close(JNIEnv*, jclass, jlong handle) {
  delete object<OutputFile>(handle);
}

JNIEXPORT jdouble JNICALL Java_com_zarvo_qvs_host_job_VideoQuality_compare(JNIEnv* env, jclass,
                                                                           jstring source, jstring rendition,
                                                                           jint x, jint y, jint width,
                                                                           jint height) {
  av_log_set_level(AV_LOG_QUIET);
  ComparisonResult result;
  FrameComparison comparison;
  const ExcludedArea excluded{x, y, width, height};
  passed(env, comparison.run(toString(env, source), toString(env, rendition), excluded, &result));
  return result.psnrDb;
}

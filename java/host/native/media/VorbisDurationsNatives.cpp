// The native side of VorbisDurations.

#include "com_zarvo_qvs_host_media_VorbisDurations.h"

#include "media/JavaScopes.h"

extern "C" {
#include <libavcodec/vorbis_parser.h>
}

using qvs::host::toBytes;

namespace {

AVVorbisParseContext* parser(jlong handle) {
  return reinterpret_cast<AVVorbisParseContext*>(static_cast<intptr_t>(handle));
}

}  // namespace

JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_host_media_VorbisDurations_open(JNIEnv* env, jclass,
                                                                           jbyteArray config) {
  const std::vector<uint8_t> headers = toBytes(env, config);
  AVVorbisParseContext* context = av_vorbis_parse_init(headers.data(), static_cast<int>(headers.size()));
  if (context) return static_cast<jlong>(reinterpret_cast<intptr_t>(context));
  const jclass type = env->FindClass("com/zarvo/qvs/host/media/MediaException");
  if (type) env->ThrowNew(type, "its Vorbis headers are damaged");
  return 0;
}

JNIEXPORT jint JNICALL Java_com_zarvo_qvs_host_media_VorbisDurations_duration(JNIEnv* env, jclass,
                                                                              jlong handle,
                                                                              jbyteArray packet) {
  const std::vector<uint8_t> bytes = toBytes(env, packet);
  const int samples = av_vorbis_parse_frame(parser(handle), bytes.data(), static_cast<int>(bytes.size()));
  return samples > 0 ? samples : 0;
}

JNIEXPORT void JNICALL Java_com_zarvo_qvs_host_media_VorbisDurations_close(JNIEnv*, jclass, jlong handle) {
  AVVorbisParseContext* context = parser(handle);
  av_vorbis_parse_free(&context);
}

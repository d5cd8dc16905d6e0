/* Off-line plug-ins: the contract between the transcoder and a library that transcodes a batch of stored frames in one
 * call, with a decoder and an encoder of its own.
 *
 * An off-line plug-in is one shared library ("libqvs-vodtranscoder-nvenc.so") in the directory of its back end's
 * plug-ins. It exports the functions listed below, each with the prefix "zarvoVODTranscoder_", and nothing else. Plain
 * C11, and valid C++.
 *
 * Order of calls: create; setAllocator2, or setAllocator where that is missing; transcode or getCodecConfig, once;
 * destroy. All on one thread; sessions on different threads run at the same time.
 */
#ifndef QVS_VOD_TRANSCODER_H
#define QVS_VOD_TRANSCODER_H

#include "qvs/plugin.h"
#include "qvs/video_encoder.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What a batch is asked by. */
typedef struct VODTranscoderVideoSettings {
  uint32_t videoCodec;          /* the transcoder's codec id: 7 H.264, 12 H.265 */
  uint32_t videoImplementation; /* which back end was preferred */
  int32_t videoGPUID;           /* -1 for any */
  uint32_t videoProfile;
  uint32_t videoFitMode;
  uint32_t videoWidth;   /* pixels */
  uint32_t videoHeight;  /* rows */
  uint32_t videoBitrate; /* bits per second */
  double videoFrameRate; /* frames per second */
  uint8_t* videoHeader;  /* parameter sets of the input in Annex B; borrowed */
  uint32_t videoHeaderLen;
  int32_t vodPacketsIndexCodecConfig; /* index of the input's configuration packet; -1: none */
} VODTranscoderVideoSettings;

/* The entry points, each listed once: X(name, needed, parameters). All give an int32_t status, 0 for success.
 *
 * getVersion: as for encoders
 * transcode: `in` holds `inCount` coded frames in Annex B, borrowed. `out` has room for `*outCount` frames and
 *   receives that many; their bytes come from the allocator, in `jbuffer`. Each has its units behind four bytes of
 *   length, and the index of the packet that its picture came from. More frames than there is room for are a failure;
 *   behind one `*outCount` is 0 and the arrays are given back
 * getCodecConfig: the encoder's parameter sets as one frame of such units
 */
#define VOD_TRANSCODER_ENTRY_POINTS(X)                                                                     \
  X(getVersion, 0, (uint8_t * buffer, uint32_t bufferLen, uint32_t * major, uint32_t * minor))             \
  X(create, 1, (void** session))                                                                           \
  X(destroy, 1, (void* session))                                                                           \
  X(setAllocator, 0,                                                                                       \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayLock lock, QvsByteArrayUnlock unlock)) \
  X(setAllocator2, 0,                                                                                      \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayFree release, QvsByteArrayLock lock,   \
     QvsByteArrayUnlock unlock))                                                                           \
  X(transcode, 1,                                                                                          \
    (void* session, VODTranscoderVideoSettings* settings, VideoFrameEncodedData* in, uint32_t inCount,     \
     VideoFrameEncodedData* out, uint32_t* outCount))                                                      \
  X(getCodecConfig, 0, (void* session, VODTranscoderVideoSettings* settings, VideoFrameEncodedData* frame))

/* What a plug-in defines. */
#define VOD_TRANSCODER_DECLARE(name, needed, parameters) \
  QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_##name parameters;
VOD_TRANSCODER_ENTRY_POINTS(VOD_TRANSCODER_DECLARE)
#undef VOD_TRANSCODER_DECLARE

/* What a loader keeps: one pointer per entry point, in the order of the list; null: not offered. */
#define VOD_TRANSCODER_FIELD(name, needed, parameters) int32_t(*func_##name) parameters;
typedef struct pluginVODTranscoder {
  VOD_TRANSCODER_ENTRY_POINTS(VOD_TRANSCODER_FIELD)
} pluginVODTranscoder;
#undef VOD_TRANSCODER_FIELD

/* Fills the table from a loaded library. Returns 1 when every needed entry point is there, else 0. */
static inline int vodTranscoderResolve(pluginVODTranscoder* plugin, QvsFindSymbol find, void* library,
                                       const char* prefix) {
  int complete = 1;
#define VOD_TRANSCODER_RESOLVE(name, needed, parameters) \
  if (!qvsResolve(&plugin->func_##name, find, library, prefix, #name) && needed) complete = 0;
  VOD_TRANSCODER_ENTRY_POINTS(VOD_TRANSCODER_RESOLVE)
#undef VOD_TRANSCODER_RESOLVE
  return complete;
}

#ifdef __cplusplus
}
#endif

#endif

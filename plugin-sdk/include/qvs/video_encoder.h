/* Video encoder plug-ins: the contract between the transcoder and a library that encodes pictures.
 *
 * An encoder plug-in is one shared library, named for its codec and back end ("libqvs-vencoder-h264-x264.so"), in the
 * directory of native plug-ins. It exports the functions listed below, each with the prefix "zarvoVideoEncoder_", and
 * nothing else. Plain C11, and valid C++.
 *
 * Order of calls
 *   1. getVersion, once at start-up and possibly on a library that is closed again at once. 0: works on this machine.
 *   2. create; setAllocator2, or setAllocator where that is missing; setCodecAndVersion and createDone where a plug-in
 *      serves more than one codec.
 *   3. Settings, in any order: setGPUID, setDefaults, setFrameSize, setFrameRate, setBitrate, setKeyFrameFollow, the
 *      parameter functions, setCUDAContext; then applyParameters, checkSettings, initialize.
 *   4. One of the adding functions per picture, with updateBitrate and parameters in between as wanted; skipFrame for
 *      a picture that is left out.
 *   5. drain, where the rest is wanted; then initialize begins anew, with settings that may have changed.
 *   6. destroy, at any point. What is still inside is dropped, and all that the session took is given back.
 *   A failed call leaves a session that goes on or can still be destroyed. No call may crash for want of an earlier one,
 *   nor for a null session or pointer: it gets a status, and so does a picture of another size than was set, one before
 *   initialize and one behind drain. With a status other than 0 nothing is handed out and `*count` is not read.
 *
 * Threads, as tagged at each entry point
 *   [any]      Any thread, at any time.
 *   [session]  Calls on one session never overlap, but may come from different threads one after the other. Calls on
 *              different sessions run at the same time.
 *   No function may throw, end the process or block for ever.
 *
 * Pictures are borrowed for the length of the call and never written. addFrame2 gets "YV12" in one block: `height` rows
 * of luma, then V, then U, each of (height + 1) / 2 rows of (stride + 1) / 2 bytes.
 * Coded frames are whole access units, in coding order. H.264 and H.265: four bytes of length, big-endian, in front of
 * each NAL unit, and the parameter sets as units in front of every key frame. A frame's timecode is that of its
 * decoding, its offset what presentation lies behind that: 0 in an encoder without B pictures. Timecodes rise from frame
 * to frame, and each picture that was taken is answered by one frame, whose timecode and offset add up to the picture's.
 */
#ifndef QVS_VIDEO_ENCODER_H
#define QVS_VIDEO_ENCODER_H

#include "qvs/plugin.h"
#include "qvs/video_frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Coded frames that one call can give back, at most. */
#define QVS_VIDEO_ENCODER_FRAMES_MAX 20u

typedef struct PluginVideoEncoderOutput {
  VideoFrameEncodedData* frames; /* room for maxFrameCount */
  uint32_t frameCount;           /* out */
  uint32_t maxFrameCount;        /* in */
} PluginVideoEncoderOutput;

/* The entry points, each listed once: X(name, needed, parameters). All give an int32_t status of "qvs/plugin.h".
 * `needed` is 1 where a library without the function is no encoder at all.
 *
 * getVersion                                                                                                [any]
 *   Tells whether the library works on this machine and its back end's version, in words as well where `buffer` is not
 *   null: cut to `bufferLen`, with a zero at the end.
 * create, destroy                                                                            [any], [session]
 * setAllocator, setAllocator2                                                                           [session]
 * setReleaseFrame: the callback that frees a picture's hold on device memory, and its context           [session]
 * freeObject: takes back an `nbuffer`                                                                   [session]
 * setGPUID: -1 for any                                                                                  [session]
 * setDefaults: the transcoder's two preset numbers (video type, PAL)                                    [session]
 * setFrameSize: pixels                                                                                  [session]
 * setFrameRate: frames per second                                                                       [session]
 * setBitrate, updateBitrate: bits per second; the second while running                                  [session]
 * setKeyFrameFollow: 1: key frames only where asked for                                                 [session]
 * checkSettings: repairs or refuses what does not go together                                           [session]
 * initialize: opens the encoder                                                                         [session]
 * addFrame: first form, without timecodes; `frames` receives up to `*count` buffers                     [session]
 * addFrame2: a host picture in one block. The five output arrays have room for QVS_VIDEO_ENCODER_FRAMES_MAX
 *   elements, `*count` holds that on entry and the number of coded frames on return. A status of 0 with none is
 *   an encoder's delay                                                                                  [session]
 * addFrame3: a host or device picture                                                                   [session]
 * encodeFrame: a picture by its planes                                                                  [session]
 * skipFrame: a picture that is left out                                                                 [session]
 * setCodecAndVersion: the transcoder's codec id, 7 H.264, 8 VP8 or VP9 by version, 12 H.265             [session]
 * createDone: after setCodecAndVersion                                                                  [session]
 * setCUDAContext: before applyParameters                                                                [session]
 * applyParameters: makes settings since the last call valid                                             [session]
 * getParameterValueType: the result is the key's type, no status: 0 unknown, 1 long, 2 long array, 3 double, 4 double
 *   array; `*arrayLength` receives the number of values of an array                                     [session]
 * setParameterValueLong ... getParameterValueDouble: keys are the plug-in's own. `*count` is the room of the
 *   array going in and the number of values coming out                                                  [session]
 * getProblem: what the session's last status other than 0 was about, in words: the call that failed and what it
 *   answered. Cut to `size`, with a zero at the end; empty where there is no more to say              [session]
 * drain: no picture follows. Hands out what the encoder holds back, in the way of addFrame2; called until `*count`
 *   comes back as 0. Then only initialize begins anew                                                  [session]
 * describe: the plug-in as JSON: {"name", "codecs": [..], "standsOn", "maxWidth", "maxHeight", "keys": [{"key", "name",
 *   "type": "long" or "double", "low", "high", "default", "does"}]}. Cut to `size`; `*needed`, where not null, receives
 *   the bytes for all of it with the zero at its end                                                        [any]
 * setPluginPath: the directory of the vendor's own codec modules, for a back end that loads such; before initialize
 *                                                                                                       [session]
 */
#define VIDEO_ENCODER_ENTRY_POINTS(X)                                                                      \
  X(getVersion, 1, (uint8_t * buffer, uint32_t bufferLen, uint32_t * major, uint32_t * minor))             \
  X(create, 1, (void** session))                                                                           \
  X(destroy, 1, (void* session))                                                                           \
  X(setAllocator, 0,                                                                                       \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayLock lock, QvsByteArrayUnlock unlock)) \
  X(setAllocator2, 0,                                                                                      \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayFree release, QvsByteArrayLock lock,   \
     QvsByteArrayUnlock unlock))                                                                           \
  X(setReleaseFrame, 0, (void* session, void* release, void* context))                                     \
  X(freeObject, 0, (void* session, void* object))                                                          \
  X(setGPUID, 0, (void* session, int32_t gpuid))                                                           \
  X(setDefaults, 0, (void* session, int32_t videoType, int32_t pal))                                       \
  X(setFrameSize, 0, (void* session, uint32_t width, uint32_t height))                                     \
  X(setFrameRate, 0, (void* session, double frameRate))                                                    \
  X(setBitrate, 0, (void* session, uint32_t bitrate))                                                      \
  X(updateBitrate, 0, (void* session, uint32_t bitrate))                                                   \
  X(setKeyFrameFollow, 0, (void* session, uint32_t follow))                                                \
  X(checkSettings, 0, (void* session))                                                                     \
  X(initialize, 0, (void* session))                                                                        \
  X(addFrame, 0,                                                                                           \
    (void* session, void* plane, uint32_t stride, uint32_t width, uint32_t height, uint32_t frameType,     \
     void** frames, uint32_t* count))                                                                      \
  X(addFrame2, 0,                                                                                          \
    (void* session, void* plane, uint32_t stride, uint32_t width, uint32_t height, uint32_t frameType,     \
     uint64_t timecode, void** frames, uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,         \
     uint64_t* timecodeOffsets, uint32_t* count))                                                          \
  X(addFrame3, 0, (void* session, PluginVideoFrameBuffer* frame, PluginVideoEncoderOutput* output))        \
  X(encodeFrame, 0, (void* session, PluginVideoBuffer* frame, PluginVideoEncoderOutput* output))           \
  X(skipFrame, 0, (void* session, PluginVideoBuffer* frame))                                               \
  X(setCodecAndVersion, 0, (void* session, uint32_t codec, uint32_t codecVersion))                         \
  X(createDone, 0, (void* session))                                                                        \
  X(setCUDAContext, 0, (void* session, PluginVideoCUDAContext* context))                                   \
  X(applyParameters, 0, (void* session))                                                                   \
  X(getParameterValueType, 0, (void* session, uint32_t key, uint32_t* arrayLength))                        \
  X(setParameterValueLong, 0, (void* session, uint32_t key, int64_t value))                                \
  X(getParameterValueLong, 0, (void* session, uint32_t key, int64_t* value))                               \
  X(setParameterValuesLong, 0, (void* session, uint32_t key, int64_t* values, uint32_t count))             \
  X(getParameterValuesLong, 0, (void* session, uint32_t key, int64_t* values, uint32_t* count))            \
  X(setParameterValueDouble, 0, (void* session, uint32_t key, double value))                               \
  X(getParameterValueDouble, 0, (void* session, uint32_t key, double* value))                              \
  X(getProblem, 0, (void* session, char* text, uint32_t size))                                             \
  X(drain, 0,                                                                                              \
    (void* session, void** frames, uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,             \
     uint64_t* timecodeOffsets, uint32_t* count))                                                          \
  X(describe, 0, (char* text, uint32_t size, uint32_t* needed))                                            \
  X(setPluginPath, 0, (void* session, const char* path))

/* What a plug-in defines. */
#define VIDEO_ENCODER_DECLARE(name, needed, parameters) \
  QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_##name parameters;
VIDEO_ENCODER_ENTRY_POINTS(VIDEO_ENCODER_DECLARE)
#undef VIDEO_ENCODER_DECLARE

/* What a loader keeps: one pointer per entry point, in the order of the list; null: not offered. */
#define VIDEO_ENCODER_FIELD(name, needed, parameters) int32_t(*func_##name) parameters;
typedef struct pluginVideoEncoder {
  VIDEO_ENCODER_ENTRY_POINTS(VIDEO_ENCODER_FIELD)
} pluginVideoEncoder;
#undef VIDEO_ENCODER_FIELD

/* Fills the table from a loaded library. `prefix` is "zarvoVideoEncoder_", or what a family of cards puts before it.
 * Returns 1 when every needed entry point is there, else 0. */
static inline int videoEncoderResolve(pluginVideoEncoder* plugin, QvsFindSymbol find, void* library,
                                      const char* prefix) {
  int complete = 1;
#define VIDEO_ENCODER_RESOLVE(name, needed, parameters) \
  if (!qvsResolve(&plugin->func_##name, find, library, prefix, #name) && needed) complete = 0;
  VIDEO_ENCODER_ENTRY_POINTS(VIDEO_ENCODER_RESOLVE)
#undef VIDEO_ENCODER_RESOLVE
  return complete;
}

#ifdef __cplusplus
}
#endif

#endif

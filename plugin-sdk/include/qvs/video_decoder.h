/* Video decoder plug-ins: the contract between the transcoder and a library that decodes pictures.
 *
 * A decoder plug-in is one shared library, named for its codec and back end
 * ("libqvs-vdecoder-h264-quicksync-drm.so"), in the directory of its back end's plug-ins. It exports the functions
 * listed below, each with the prefix "zarvoVideoDecoder_", and nothing else. Plain C11, and valid C++.
 *
 * Order of calls
 *   1. getVersion, once at start-up. 0: works on this machine.
 *   2. create; setAllocator2, or setAllocator where that is missing; setGPUID, setFourcc, setDeinterlace, parameters,
 *      applyParameters; initialize.
 *   3. decodeCodecConfig with the container's record, possibly again when it changes; then per coded unit addFrame,
 *      and decode2 until the status says that the input is used up, with getDecodedFrame where a picture is ready.
 *   4. close, or straight destroy. initialize behind close begins anew.
 *   The plug-in holds the stream's state: sizes, rate, time, type and flags are asked of it.
 *
 * Threads, as tagged at each entry point
 *   [any]      Any thread, at any time.
 *   [session]  Calls on one session never overlap, but may come from different threads one after the other.
 *   No function may throw, end the process or block for ever, nor crash for want of an earlier call, for a null session
 *   or pointer, or for damaged bytes: those are a status, or a picture with QVS_DECODE_FRAME_ERROR.
 *
 * Coded bytes come as the container has them: H.264 and H.265 with lengths in front of their units. They are borrowed
 * until the next call of addFrame. Timecodes are milliseconds and ride with their picture through reordering.
 */
#ifndef QVS_VIDEO_DECODER_H
#define QVS_VIDEO_DECODER_H

#include "qvs/plugin.h"
#include "qvs/video_frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Bits of the status word of decode. A picture is fetched when AVAILABLE is set and NOT_READY is clear. */
#define QVS_DECODE_INPUT_DONE 0x01u
#define QVS_DECODE_PICTURE_DONE 0x02u
#define QVS_DECODE_FRAME_AVAILABLE 0x04u
#define QVS_DECODE_FRAME_NOT_READY 0x08u
#define QVS_DECODE_FRAME_ERROR 0x10u
#define QVS_DECODE_INFO_UPDATED 0x20u
#define QVS_DECODE_ABORTED 0x40u
#define QVS_DECODE_FLUSHED 0x80u

/* The entry points, each listed once: X(name, needed, result, parameters). Results of type int32_t are a status of
 * "qvs/plugin.h". `needed` is 1 where a library without the function is no decoder at all.
 *
 * getVersion, create, destroy, setAllocator, setAllocator2, freeObject, setGPUID: as for encoders
 * initialize, close                                                                                     [session]
 * getFrameWidth ... getDisplayHeight: pixels, coded and shown; getFrameRate: frames per second          [session]
 * getFrameBuffer: the picture where it lies, borrowed until the next decode                             [session]
 * getDecodedFrameType, getDecodedFrameTimecode, getDecodedFrameFlags: of the picture now ready          [session]
 * isFrameDone: 1 when all input has been used up                                                        [session]
 * getDeinterlace, setDeinterlace, setFourcc: before initialize                                          [session]
 * decodeCodecConfig: the container's configuration record; 0 understood                                 [session]
 * getDecodedFrame: copies the picture into `buffer`: planes in one block, rows of `stride` bytes, chroma of half
 *   that, in the order of the fourcc, as many rows as getDecodedFrameSize tells; writes the size shown, type, flags and
 *   timecode. The picture is ready until the next step                                                [session]
 * getDecodedFrameSize: frame width, frame height, display width, display height                         [session]
 * addFrame: one coded unit                                                                              [session]
 * decode, decode2: a step; `flags` receives QVS_DECODE_ bits. `flush` 1 after the last unit: steps go on, a picture
 *   each, until QVS_DECODE_FLUSHED                                                                    [session]
 * decodeFrames: a thumbnail request, where the library serves those                                     [session]
 * applyParameters ... getParameterValueDouble, getProblem: as for encoders                              [session]
 * describe: as for encoders                                                                                 [any]
 */
#define VIDEO_DECODER_ENTRY_POINTS(X)                                                                       \
  X(getVersion, 1, int32_t, (uint8_t * buffer, uint32_t bufferLen, uint32_t * major, uint32_t * minor))     \
  X(create, 1, int32_t, (void** session))                                                                   \
  X(destroy, 1, int32_t, (void* session))                                                                   \
  X(setAllocator, 0, int32_t,                                                                               \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayLock lock, QvsByteArrayUnlock unlock))  \
  X(setAllocator2, 0, int32_t,                                                                              \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayFree release, QvsByteArrayLock lock,    \
     QvsByteArrayUnlock unlock))                                                                            \
  X(freeObject, 0, int32_t, (void* session, void* object))                                                  \
  X(setGPUID, 0, int32_t, (void* session, int32_t gpuid))                                                   \
  X(initialize, 0, int32_t, (void* session))                                                                \
  X(close, 0, int32_t, (void* session))                                                                     \
  X(getFrameWidth, 0, uint32_t, (void* session))                                                            \
  X(getFrameHeight, 0, uint32_t, (void* session))                                                           \
  X(getDisplayWidth, 0, uint32_t, (void* session))                                                          \
  X(getDisplayHeight, 0, uint32_t, (void* session))                                                         \
  X(getFrameRate, 0, double, (void* session))                                                               \
  X(getFrameBuffer, 0, uint32_t, (void* session, PluginVideoBuffer* frame))                                 \
  X(getDecodedFrameType, 0, uint32_t, (void* session))                                                      \
  X(getDecodedFrameTimecode, 0, uint64_t, (void* session))                                                  \
  X(getDecodedFrameFlags, 0, uint64_t, (void* session))                                                     \
  X(isFrameDone, 0, uint8_t, (void* session))                                                               \
  X(getDeinterlace, 0, uint8_t, (void* session))                                                            \
  X(setDeinterlace, 0, void, (void* session, uint8_t deinterlace))                                          \
  X(setFourcc, 0, void, (void* session, uint32_t fourcc))                                                   \
  X(decodeCodecConfig, 0, uint32_t, (void* session, uint8_t* buffer, uint32_t offset, uint32_t len))        \
  X(getDecodedFrame, 0, uint32_t,                                                                           \
    (void* session, void* buffer, uint32_t stride, uint32_t* width, uint32_t* height, uint32_t* frameType,  \
     uint64_t* flags, uint64_t* timecode))                                                                  \
  X(getDecodedFrameSize, 0, uint32_t,                                                                       \
    (void* session, uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,                    \
     uint32_t* displayHeight))                                                                              \
  X(addFrame, 0, uint32_t,                                                                                  \
    (void* session, uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode, uint32_t frameType)) \
  X(decode, 0, uint32_t, (void* session, uint32_t* flags))                                                  \
  X(decode2, 0, uint32_t, (void* session, uint32_t* flags, uint8_t flush))                                  \
  X(decodeFrames, 0, uint32_t, (void* session, void* request))                                              \
  X(applyParameters, 0, int32_t, (void* session))                                                           \
  X(getParameterValueType, 0, int32_t, (void* session, uint32_t key, uint32_t* arrayLength))                \
  X(setParameterValueLong, 0, int32_t, (void* session, uint32_t key, int64_t value))                        \
  X(getParameterValueLong, 0, int32_t, (void* session, uint32_t key, int64_t* value))                       \
  X(setParameterValuesLong, 0, int32_t, (void* session, uint32_t key, int64_t* values, uint32_t count))     \
  X(getParameterValuesLong, 0, int32_t, (void* session, uint32_t key, int64_t* values, uint32_t* count))    \
  X(setParameterValueDouble, 0, int32_t, (void* session, uint32_t key, double value))                       \
  X(getParameterValueDouble, 0, int32_t, (void* session, uint32_t key, double* value))                      \
  X(getProblem, 0, int32_t, (void* session, char* text, uint32_t size))                                     \
  X(describe, 0, int32_t, (char* text, uint32_t size, uint32_t* needed))

/* What a plug-in defines. */
#define VIDEO_DECODER_DECLARE(name, needed, result, parameters) \
  QVS_PLUGIN_EXPORT result zarvoVideoDecoder_##name parameters;
VIDEO_DECODER_ENTRY_POINTS(VIDEO_DECODER_DECLARE)
#undef VIDEO_DECODER_DECLARE

/* What a loader keeps: one pointer per entry point, in the order of the list; null: not offered. */
#define VIDEO_DECODER_FIELD(name, needed, result, parameters) result(*func_##name) parameters;
typedef struct pluginVideoDecoder {
  VIDEO_DECODER_ENTRY_POINTS(VIDEO_DECODER_FIELD)
} pluginVideoDecoder;
#undef VIDEO_DECODER_FIELD

/* Fills the table from a loaded library. `prefix` is "zarvoVideoDecoder_", or what a family of cards puts before it.
 * Returns 1 when every needed entry point is there, else 0. */
static inline int videoDecoderResolve(pluginVideoDecoder* plugin, QvsFindSymbol find, void* library,
                                      const char* prefix) {
  int complete = 1;
#define VIDEO_DECODER_RESOLVE(name, needed, result, parameters) \
  if (!qvsResolve(&plugin->func_##name, find, library, prefix, #name) && needed) complete = 0;
  VIDEO_DECODER_ENTRY_POINTS(VIDEO_DECODER_RESOLVE)
#undef VIDEO_DECODER_RESOLVE
  return complete;
}

#ifdef __cplusplus
}
#endif

#endif

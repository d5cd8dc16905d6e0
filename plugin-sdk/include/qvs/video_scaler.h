/* Video scaler plug-ins: the contract between the transcoder and a library that halves pictures and draws
 * overlays in place.
 *
 * A scaler plug-in is one shared library named "libqvs-videoframe-intrinsic-scaler.so" in the directory of native
 * plug-ins. It exports the functions listed below under their plain C names, each with the prefix
 * "zarvoVideoScaler_", and nothing else. This header is all that it needs; it is plain C11 and also valid C++.
 *
 * Order of calls
 *   1. The transcoder loads the library once, at start-up, and calls isAvailable once. An answer with either of
 *      the two bits of VIDEO_SCALER_AVAILABLE_MASK missing means "not on this machine": the library is closed
 *      again and none of its other functions is ever called.
 *   2. create once per picture buffer, on first use. scaleByHalf and overlayFrame any number of times, in any
 *      order and with sizes that may change from call to call. destroy once.
 *   3. The library stays loaded until the process ends.
 *
 * Threads, as tagged at each entry point
 *   [start-up]  One call, on one thread, before any other function of the library.
 *   [session]   Calls on one session never overlap, but may come from different threads one after the other.
 *               Calls on different sessions run at the same time: whatever sessions share must be immutable.
 *   [any]       Any thread, at any time after isAvailable has answered.
 *   No function may call back into the transcoder, block on another session, or throw.
 *
 * Pointers
 *   Pictures and frame records are borrowed for the length of the call. The plug-in keeps none of them, frees
 *   none of them, reads and writes only the bytes that the plane layout below gives to the picture, and never
 *   writes through `overlay` or `source`. Source and target of one call never share memory.
 *
 * Results
 *   0 means done. Any other number means refused or failed; the target picture is then untouched, or wholly
 *   written, but never half so in a way that a viewer could see. A function that the library does not export is
 *   "not offered": the transcoder does without it and takes its own, slower road.
 *
 * Versions
 *   1. This interface has no version number. What a library offers is told by the symbols that it exports.
 *   2. The list of entry points and every record only grow, at the end. Nothing is reordered, removed or reused.
 *   3. A plug-in refuses, with a non-zero result, any fourcc and any mode that it doesn't know.
 *   4. A transcoder treats a missing symbol as not offered, and never fails to start because of one.
 *   5. Sizes and offsets of the records are frozen, and tested.
 */
#ifndef QVS_VIDEO_SCALER_H
#define QVS_VIDEO_SCALER_H

#include <stdint.h>
#include <string.h>

#include "qvs/plugin.h"
#include "qvs/video_frame.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Put in front of the definition of an entry point: exported even where the default visibility is hidden. */
#define VIDEO_SCALER_EXPORT __attribute__((visibility("default")))

/* A format code: four characters, the first in the lowest byte. */
#define VIDEO_SCALER_FOURCC(a, b, c, d) \
  (UINT32_C(1) * (a) | UINT32_C(0x100) * (b) | UINT32_C(0x10000) * (c) | UINT32_C(0x1000000) * (d))

/* Both bits must be set in the answer of isAvailable. Bit 0: the library works on this machine. Bit 1: it follows
 * the contract of this header. Other bits are 0 today and ignored by the transcoder. */
#define VIDEO_SCALER_AVAILABLE_MASK 3u

/* The only overlay mode today: blend by the overlay's own alpha. */
#define VIDEO_SCALER_OVERLAY_BLEND 1u

/* A picture in the host's memory: one block of bytes that starts at `plane`. All samples are 8 bits.
 *
 * Plane layout by fourcc, with s = stride, w = width, h = height, and all divisions rounded down:
 *
 *   "YV12"          Y: h rows of w bytes, stride s, at 0
 *                   V: h/2 rows of w/2 bytes, stride s/2, at s*h
 *                   U: h/2 rows of w/2 bytes, stride s/2, at s*h + (s/2)*(h/2)
 *   "I420" "IYUV"   as YV12 with U before V
 *   "NV12"          Y as above; then h/2 rows of w/2 pairs (U, V), stride s, at s*h
 *   "VUYA"          h rows of w pixels of the four bytes V, U, Y, A, stride s, at 0. A is straight (not
 *                   premultiplied) opacity, 0 clear to 255 opaque. Full range, BT.709.
 *
 * Bytes between the end of a row and its stride, and the last column or row of an odd size that has no chroma
 * sample, belong to nobody: they may be read but not relied upon, and are not written. */
typedef struct VideoFrameIntrinsicScalerFrame {
  uint32_t fourcc; /* VIDEO_SCALER_FOURCC */
  void* plane;     /* first byte of the first plane; borrowed; need not be aligned */
  uint32_t stride; /* bytes from one row of the first plane to the next, at least the bytes of one row */
  uint32_t width;  /* pixels */
  uint32_t height; /* rows */
} VideoFrameIntrinsicScalerFrame;

/* The entry points, each listed once: X(name, needed, result, parameters). `needed` is 1 where a library without
 * the function is not a scaler plug-in at all, and 0 where a missing function is merely not offered.
 *
 * uint32_t isAvailable(void)                                                                       [start-up]
 *   Tells whether the library can work on this machine; see VIDEO_SCALER_AVAILABLE_MASK. Probe the hardware
 *   here. Missing: the library is refused.
 *
 * uint32_t create(void** session)                                                                       [any]
 *   Makes a session. 0: `*session` holds it, never null, owned by the caller until destroy. Other: failed and
 *   `*session` is null. Keep it cheap: scratch memory belongs to the first call that needs it.
 *   Missing: no sessions, so nothing is offered.
 *
 * uint32_t destroy(void* session)                                                                   [session]
 *   Frees a session and all that it holds. The pointer is dead afterwards. A null session is allowed and gives 0.
 *
 * uint32_t scaleByHalf(void* session, const VideoFrameIntrinsicScalerFrame* source,
 *                      VideoFrameIntrinsicScalerFrame* target)                                      [session]
 *   Writes `source` at half its width and height into `target`. Both are planar 4:2:0 ("YV12", "I420" or "IYUV")
 *   and have the same fourcc; target width = source width / 2 and target height = source height / 2, rounded
 *   down, both even and at least 2. The transcoder keeps to that, but a plug-in checks it and refuses anything
 *   else. Where the source is odd its last column or row counts only as what lies beyond the edge. Chroma is
 *   taken to be centred between its four luma samples, before and after. Every sample of the target is written.
 *   Missing: no halved pictures are made.
 *
 * uint32_t overlayFrame(void* session, uint32_t mode, uint32_t x, uint32_t y,
 *                       const VideoFrameIntrinsicScalerFrame* overlay,
 *                       VideoFrameIntrinsicScalerFrame* target)                                     [session]
 *   Draws `overlay`, a "VUYA" picture, on `target` ("YV12", "I420", "IYUV" or "NV12"), in place and without
 *   scaling. `x` and `y` are the place of the overlay's top left pixel in pixels of the target: read them as
 *   int32_t, since they are negative where the overlay begins left of or above the picture. Both are even; odd
 *   ones are refused. What lies outside the target is cut off, and an overlay that lies wholly outside draws
 *   nothing and gives 0. With VIDEO_SCALER_OVERLAY_BLEND each luma sample becomes (A*Y + (255-A)*old) / 255,
 *   and each chroma sample (sum of A*C + (1020 - sum of A)*old) / 1020 over the four overlay pixels that it
 *   covers, where pixels that the overlay doesn't have count as clear; both rounded to nearest.
 *   Missing: overlays are drawn by the transcoder's own converter. */
/* clang-format off */
#define VIDEO_SCALER_ENTRY_POINTS(X)                                                       \
  X(isAvailable, 1, uint32_t, (void))                                                      \
  X(create, 0, uint32_t, (void** session))                                                 \
  X(destroy, 0, uint32_t, (void* session))                                                 \
  X(scaleByHalf, 0, uint32_t,                                                              \
    (void* session, const VideoFrameIntrinsicScalerFrame* source,                          \
     VideoFrameIntrinsicScalerFrame* target))                                              \
  X(overlayFrame, 0, uint32_t,                                                             \
    (void* session, uint32_t mode, uint32_t x, uint32_t y,                                 \
     const VideoFrameIntrinsicScalerFrame* overlay, VideoFrameIntrinsicScalerFrame* target))
/* clang-format on */

/* What the scaler of a card offers beside create and destroy: a library of its own, "libqvs-vscaler-xilinxu30.so", which
 * exports all of these under names with "u30s_" in front of the usual prefix. It makes all renditions of a picture in
 * one pass. Statuses are those of "qvs/plugin.h"; sessions follow the rules above.
 *
 * Order of calls: create; setAllocator2; setGPUID; setSource; allocFrame for the host's pictures; addScaling a rendition;
 * parameters (1003 the format, "NV12" in host memory or "HN12" on the card; 1004 the bit depth); initialize; then scale
 * a picture. setSource may come again when the source changes its size. freeFrame, destroy.
 *
 * scale: `targets` has `*count` entries, largest first, with size and `index` filled in; the plug-in writes format, planes
 *   and strides, or the handle in `opaque_`. It may work in a pipeline: `*count` comes back as 0 while nothing is ready, else
 *   as it was, and what comes out belongs to the oldest source that hasn't come out yet. A handle in the source's `opaque_`
 *   is the plug-in's from the call on, whatever it answers; handles in targets are the caller's. Planes are the plug-in's
 *   and stay until the next call. With a status other than 0 nothing is handed out, and this source doesn't come out.
 *   A source whose fourcc is 0 is none: the oldest that is inside comes out, `*count` 0 when there is no more.
 * allocFrame, freeFrame: planes and strides of a host picture that scale takes */
/* clang-format off */
#define VIDEO_SCALER_CARD_ENTRY_POINTS(X)                                                                    \
  X(setAllocator, 0, int32_t,                                                                                \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayLock lock, QvsByteArrayUnlock unlock))   \
  X(setAllocator2, 0, int32_t,                                                                               \
    (void* session, void* host, QvsByteArrayNew create, QvsByteArrayFree release, QvsByteArrayLock lock,     \
     QvsByteArrayUnlock unlock))                                                                             \
  X(setGPUID, 0, int32_t, (void* session, int32_t gpuid))                                                    \
  X(initialize, 0, int32_t, (void* session))                                                                 \
  X(setSource, 0, int32_t, (void* session, uint32_t width, uint32_t height, double rate))                    \
  X(addScaling, 0, int32_t,                                                                                  \
    (void* session, uint32_t width, uint32_t height, double rate, uint32_t scaleIndex, uint8_t stableRate))  \
  X(getVersion, 0, int32_t, (uint8_t * buffer, uint32_t bufferLen, uint32_t * major, uint32_t * minor))      \
  X(scale, 0, int32_t,                                                                                       \
    (void* session, PluginVideoBuffer* source, PluginVideoBuffer* targets, uint32_t* count))                 \
  X(allocFrame, 0, int32_t,                                                                                  \
    (void* session, uint32_t width, uint32_t height, uint32_t four_cc, PluginVideoBuffer* frame))            \
  X(freeFrame, 0, int32_t, (void* session, PluginVideoBuffer* frame))                                        \
  X(applyParameters, 0, int32_t, (void* session))                                                            \
  X(getParameterValueType, 0, int32_t, (void* session, uint32_t key, uint32_t* arrayLength))                 \
  X(setParameterValueLong, 0, int32_t, (void* session, uint32_t key, int64_t value))                         \
  X(getParameterValueLong, 0, int32_t, (void* session, uint32_t key, int64_t* value))                        \
  X(setParameterValuesLong, 0, int32_t, (void* session, uint32_t key, int64_t* values, uint32_t count))      \
  X(getParameterValuesLong, 0, int32_t, (void* session, uint32_t key, int64_t* values, uint32_t* count))     \
  X(setParameterValueDouble, 0, int32_t, (void* session, uint32_t key, double value))                        \
  X(getParameterValueDouble, 0, int32_t, (void* session, uint32_t key, double* value))                       \
  X(getProblem, 0, int32_t, (void* session, char* text, uint32_t size))
/* clang-format on */

/* What a plug-in defines. */
#define VIDEO_SCALER_DECLARE(name, needed, result, parameters) \
  VIDEO_SCALER_EXPORT result zarvoVideoScaler_##name parameters;
VIDEO_SCALER_ENTRY_POINTS(VIDEO_SCALER_DECLARE)
#undef VIDEO_SCALER_DECLARE

/* What a loader keeps: one pointer per entry point, in the order of the list; null: not offered. */
#define VIDEO_SCALER_FIELD(name, needed, result, parameters) result(*func_##name) parameters;
typedef struct PluginVideoScaler {
  VIDEO_SCALER_ENTRY_POINTS(VIDEO_SCALER_FIELD)
  VIDEO_SCALER_CARD_ENTRY_POINTS(VIDEO_SCALER_FIELD)
} PluginVideoScaler;
#undef VIDEO_SCALER_FIELD

/* Fills the table from a loaded library. `find` gives the address of a symbol of `library`, or null: dlsym has
 * the right shape. Returns 1 when every needed entry point is there, else 0. */
static inline int videoScalerResolve(PluginVideoScaler* plugin,
                                     void* (*find)(void* library, const char* name), void* library) {
  int complete = 1;
  /* The bytes are copied because plain C has no cast from a data pointer to a function pointer. */
#define VIDEO_SCALER_RESOLVE(name, needed, result, parameters) \
  {                                                            \
    void* address = find(library, "zarvoVideoScaler_" #name);  \
    memcpy(&plugin->func_##name, &address, sizeof address);    \
    if (needed && !address) complete = 0;                      \
  }
  VIDEO_SCALER_ENTRY_POINTS(VIDEO_SCALER_RESOLVE)
#undef VIDEO_SCALER_RESOLVE
  return complete;
}

/* The same for the scaler of a card, with the prefix of its names. Returns 1 when it can make a session and scale. */
static inline int videoScalerResolveCard(PluginVideoScaler* plugin, QvsFindSymbol find, void* library,
                                         const char* prefix) {
#define VIDEO_SCALER_RESOLVE_CARD(name, needed, result, parameters) \
  qvsResolve(&plugin->func_##name, find, library, prefix, #name);
  VIDEO_SCALER_ENTRY_POINTS(VIDEO_SCALER_RESOLVE_CARD)
  VIDEO_SCALER_CARD_ENTRY_POINTS(VIDEO_SCALER_RESOLVE_CARD)
#undef VIDEO_SCALER_RESOLVE_CARD
  return plugin->func_create && plugin->func_scale ? 1 : 0;
}

#ifdef __cplusplus
}
#endif

#endif

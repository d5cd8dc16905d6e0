/* What all families of plug-ins share: how a library exports its entry points, how a loader finds them, what a status
 * number means, and who allocates the bytes that a plug-in hands out. Plain C11, and valid C++.
 *
 * Results
 *   Functions that give an int32_t answer 0 for success and one of the codes below, or another positive number, for a
 *   failure. The transcoder writes the code's text to the session's log and goes on; see each family for what then
 *   happens.
 *
 * Versions
 *   1. An interface has no version number. What a library offers is told by the symbols that it exports.
 *   2. Every list of entry points and every record only grows, at its end. Nothing is reordered, removed or reused.
 *   3. A missing symbol means "not offered": the call is then a silent no-op with result 0.
 *   4. Sizes and offsets of the records are frozen, and tested.
 */
#ifndef QVS_PLUGIN_H
#define QVS_PLUGIN_H

#include <stdint.h>
#include <stdio.h>
#include <string.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Put in front of the definition of an entry point: exported even where the default visibility is hidden. */
#define QVS_PLUGIN_EXPORT __attribute__((visibility("default")))

/* Status codes of the codec families, each listed once: X(code, name, text of the log). */
#define QVS_PLUGIN_STATUS_CODES(X)                                                \
  X(1, OPEN_DISPLAY, "XOpenDisplay failed.")                                      \
  X(2, GET_DISPLAY, "vaGetDisplay failed.")                                       \
  X(3, INIT_DISPLAY, "vaInitDisplay failed.")                                     \
  X(4, NO_ENTRY_POINTS, "No entry points defined.")                               \
  X(5, NO_SLICE_ENCODING, "Slice encoding is not supported.")                     \
  X(6, NO_COLOR_FORMAT, "Color format is missing.")                               \
  X(7, NO_VBR, "VBR encoding is not supported.")                                  \
  X(8, CREATE_CONFIG, "vaCreateConfig failed.")                                   \
  X(9, CREATE_CONTEXT, "vaCreateContext failed.")                                 \
  X(10, CREATE_SEQUENCE_BUFFER, "vaCreateBuffer[seq] failed.")                    \
  X(11, CREATE_SURFACES, "vaCreateSurfaces failed.")                              \
  X(12, CREATE_CODED_BUFFER, "vaCreateBuffer[coded] failed.")                     \
  X(13, OPEN_CARD, "open[/dev/dri/card0] failed.")                                \
  X(14, GET_DISPLAY_DRM, "vaGetDisplayDRM[fd]; failed.")                          \
  X(15, MFX_INIT, "MFXInit failed.")                                              \
  X(16, MFX_INIT_NULL, "MFXInit is nullptr.")                                     \
  X(17, SOFTWARE_ONLY, "hardware acceleration is not available (software only).") \
  X(18, CREATE_LIBVA, "CreateLibVA failed.")                                      \
  X(19, SET_HANDLE, "SetHandle failed.")                                          \
  X(20, CREATE_ENCODER, "Encoder creation failed.")                               \
  X(21, QUERY_SURFACE, "QueryIOSurface failed.")                                  \
  X(22, INIT_ENCODER, "Init encoder failed.")                                     \
  X(23, ALLOCATE_BUFFER, "Allocate buffer failed.")

/* Further codes of plug-ins that decode or that take pictures through a processing step. */
#define QVS_PLUGIN_DECODER_STATUS_CODES(X)             \
  X(24, CREATE_DECODER, "Decoder creation failed")     \
  X(25, INIT_DECODER, "Decoder init failed")           \
  X(26, INIT_VPP, "VPP init failed")                   \
  X(27, PARSE_HEADER, "Decoder header parse error")    \
  X(28, CREATE_ALLOCATOR, "Allocator creation failed") \
  X(29, INIT_ALLOCATOR, "Allocator init failed")       \
  X(30, CREATE_VPP, "VPP creation failed")

/* Further codes of plug-ins whose card serves so many encoders and no more. */
#define QVS_PLUGIN_CARD_STATUS_CODES(X) X(31, SESSION_LIMIT, "session limit of the driver reached")

enum QvsPluginStatus {
  QVS_PLUGIN_OK = 0,
#define QVS_PLUGIN_STATUS_NAME(code, name, text) QVS_PLUGIN_##name = code,
  QVS_PLUGIN_STATUS_CODES(QVS_PLUGIN_STATUS_NAME) QVS_PLUGIN_DECODER_STATUS_CODES(QVS_PLUGIN_STATUS_NAME)
      QVS_PLUGIN_CARD_STATUS_CODES(QVS_PLUGIN_STATUS_NAME)
#undef QVS_PLUGIN_STATUS_NAME
};

/* The transcoder's allocator, given by setAllocator2 (or, without byteArrayFree, by setAllocator). `host` is passed
 * back unread. All bytes that a plug-in hands out must come from byteArrayNew: the transcoder takes them over without
 * a copy. What byteArrayNew gives is a handle: the bytes may be touched between lock, which gives their address, and
 * unlock. An array that is handed out is unlocked, and from then on the transcoder's; one that isn't, the plug-in frees.
 * null: out of memory. */
typedef void* (*QvsByteArrayNew)(void* host, uint32_t size);
typedef void (*QvsByteArrayFree)(void* host, void* array);
typedef uint8_t* (*QvsByteArrayLock)(void* host, void* array);
typedef void (*QvsByteArrayUnlock)(void* host, void* array, uint8_t* bytes);

/* For loaders: the address of `symbol` in `library`, or null; dlsym has the right shape. */
typedef void* (*QvsFindSymbol)(void* library, const char* symbol);

/* For loaders: stores the address of prefix+name in the function pointer at `field`. 1 where it was found. */
static inline int qvsResolve(void* field, QvsFindSymbol find, void* library, const char* prefix,
                             const char* name) {
  char symbol[128];
  void* address;
  if ((size_t)snprintf(symbol, sizeof symbol, "%s%s", prefix, name) >= sizeof symbol) return 0;
  address = find(library, symbol);
  /* The bytes are copied because plain C has no cast from a data pointer to a function pointer. */
  memcpy(field, &address, sizeof address);
  return address ? 1 : 0;
}

#ifdef __cplusplus
}
#endif

#endif

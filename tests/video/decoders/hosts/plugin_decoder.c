/* A decoder plug-in: the picture of a unit has the unit's first byte as luma, the next as V, the next as U, in the size
 * of the configuration's two bytes. Built without decode2 as well. */
#include <pthread.h>
#include <stdlib.h>

#include "qvs/video_decoder.h"

typedef struct Session {
  uint32_t width, height, fourcc, waiting;
  uint8_t unit[3];
  uint64_t timecode;
} Session;

enum { kCreate = 1, kAddFrame, kDecode, kGet };

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static int hangs;  /* the call that doesn't return until this is another */
static int passed; /* sessions destroyed */

QVS_PLUGIN_EXPORT void hangAt(int call) {
  pthread_mutex_lock(&lock);
  hangs = call;
  pthread_cond_broadcast(&changed);
  pthread_mutex_unlock(&lock);
}

QVS_PLUGIN_EXPORT int sessionsDestroyed(void) {
  pthread_mutex_lock(&lock);
  const int count = passed;
  pthread_mutex_unlock(&lock);
  return count;
}

static void enter(int call) {
  pthread_mutex_lock(&lock);
  while (hangs == call) pthread_cond_wait(&changed, &lock);
  pthread_mutex_unlock(&lock);
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoDecoder_getVersion(uint8_t* buffer, uint32_t len, uint32_t* major,
                                                       uint32_t* minor) {
  (void)buffer, (void)len;
  *major = 2;
  *minor = 9;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoDecoder_create(void** session) {
  enter(kCreate);
  *session = calloc(1, sizeof(Session));
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoDecoder_destroy(void* session) {
  free(session);
  pthread_mutex_lock(&lock);
  ++passed;
  pthread_mutex_unlock(&lock);
  return 0;
}

QVS_PLUGIN_EXPORT void zarvoVideoDecoder_setFourcc(void* session, uint32_t fourcc) {
  ((Session*)session)->fourcc = fourcc;
}

QVS_PLUGIN_EXPORT uint32_t zarvoVideoDecoder_decodeCodecConfig(void* session, uint8_t* buffer,
                                                               uint32_t offset, uint32_t len) {
  Session* it = session;
  if (len != 2) return 27;
  it->width = buffer[offset];
  it->height = buffer[offset + 1];
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoDecoder_getProblem(void* session, char* text, uint32_t size) {
  (void)session;
  snprintf(text, size, "two bytes are wanted");
  return 0;
}

QVS_PLUGIN_EXPORT double zarvoVideoDecoder_getFrameRate(void* session) {
  (void)session;
  return 12.5;
}

QVS_PLUGIN_EXPORT uint32_t zarvoVideoDecoder_addFrame(void* session, uint8_t* buffer, uint32_t offset,
                                                      uint32_t len, uint64_t timecode, uint32_t frameType) {
  Session* it = session;
  (void)frameType;
  enter(kAddFrame);
  if (len < 3) return (uint32_t)-10;
  memcpy(it->unit, buffer + offset, 3);
  it->timecode = timecode;
  it->waiting = 1;
  return 0;
}

QVS_PLUGIN_EXPORT uint8_t zarvoVideoDecoder_isFrameDone(void* session) {
  return ((Session*)session)->waiting == 0;
}

#ifndef WITHOUT_DECODE2
QVS_PLUGIN_EXPORT uint32_t zarvoVideoDecoder_decode2(void* session, uint32_t* flags, uint8_t flush) {
  Session* it = session;
  enter(kDecode);
  *flags = QVS_DECODE_INPUT_DONE;
  if (it->waiting) *flags |= QVS_DECODE_FRAME_AVAILABLE;
  if (flush) *flags |= QVS_DECODE_FLUSHED;
  it->waiting = 0;
  return 0;
}
#endif

QVS_PLUGIN_EXPORT uint32_t zarvoVideoDecoder_getDecodedFrameSize(void* session, uint32_t* width,
                                                                 uint32_t* height, uint32_t* displayWidth,
                                                                 uint32_t* displayHeight) {
  Session* it = session;
  *width = it->width;
  *height = it->height;
  *displayWidth = it->width;
  *displayHeight = it->height - 1;
  return 0;
}

QVS_PLUGIN_EXPORT uint32_t zarvoVideoDecoder_getDecodedFrame(void* session, void* buffer, uint32_t stride,
                                                             uint32_t* width, uint32_t* height,
                                                             uint32_t* frameType, uint64_t* flags,
                                                             uint64_t* timecode) {
  Session* it = session;
  uint8_t* at = buffer;
  enter(kGet);
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t rows = plane == 0 ? it->height : (it->height + 1) / 2;
    const uint32_t bytes = plane == 0 ? stride : (stride + 1) / 2;
    memset(at, it->unit[it->fourcc == 0x32315659 || plane == 0 ? plane : 3 - plane], (size_t)rows * bytes);
    at += (size_t)rows * bytes;
  }
  *width = it->width;
  *height = it->height - 1;
  *frameType = QVS_FRAME_PREDICTED;
  *flags = 2;
  *timecode = it->timecode;
  return 0;
}

/* An encoder plug-in that codes nothing: each coded frame is what it was told. Key 1 chooses what it gets wrong. Key 3
 * lets go calls that hang. */
#include <pthread.h>
#include <stdlib.h>

#include "qvs/video_encoder.h"

enum { kKeyFault = 1, kKeyLive, kKeyLetGo, kKeyHangCreate };
enum {
  kDelay = 1,
  kCount,
  kNull,
  kStatus,
  kSize,
  kRepeat,
  kHangAdd,
  kHangInitialize,
  kHangDestroy,
  kEndless
};

typedef struct Session {
  void* host;
  QvsByteArrayNew create;
  uint32_t width, height, bitrate;
  int64_t fault;
  uint32_t held; /* pictures that only drain gives out */
} Session;

static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
static int64_t live;  /* sessions not destroyed */
static int64_t letGo; /* calls that may go on */
static int64_t hangCreate;

static void addLive(int64_t count) {
  pthread_mutex_lock(&lock);
  live += count;
  pthread_mutex_unlock(&lock);
}

static void hang(void) {
  pthread_mutex_lock(&lock);
  while (letGo == 0) pthread_cond_wait(&changed, &lock);
  --letGo;
  pthread_mutex_unlock(&lock);
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t len, uint32_t* major,
                                                       uint32_t* minor) {
  (void)buffer, (void)len;
  *major = 3;
  *minor = 7;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_create(void** session) {
  pthread_mutex_lock(&lock);
  const int64_t hangs = hangCreate;
  pthread_mutex_unlock(&lock);
  if (hangs != 0) hang();
  *session = calloc(1, sizeof(Session));
  addLive(1);
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_destroy(void* session) {
  if (((Session*)session)->fault == kHangDestroy) hang();
  free(session);
  addLive(-1);
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                                          QvsByteArrayFree release, QvsByteArrayLock lock,
                                                          QvsByteArrayUnlock unlock) {
  Session* it = session;
  (void)release, (void)lock, (void)unlock;
  it->host = host;
  it->create = create;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_setFrameSize(void* session, uint32_t width, uint32_t height) {
  Session* it = session;
  it->width = width;
  it->height = height;
  return width == 0 ? QVS_PLUGIN_NO_COLOR_FORMAT : 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_setBitrate(void* session, uint32_t bitrate) {
  ((Session*)session)->bitrate = bitrate;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_initialize(void* session) {
  if (((Session*)session)->fault == kHangInitialize) hang();
  return ((Session*)session)->bitrate == 0 ? 99 : 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_setParameterValueLong(void* session, uint32_t key,
                                                                  int64_t value) {
  if (key == kKeyFault) ((Session*)session)->fault = value;
  if (key == kKeyLetGo) {
    pthread_mutex_lock(&lock);
    letGo += value;
    pthread_cond_broadcast(&changed);
    pthread_mutex_unlock(&lock);
  }
  if (key == kKeyHangCreate) {
    pthread_mutex_lock(&lock);
    hangCreate = value;
    pthread_mutex_unlock(&lock);
  }
  return key == kKeyFault || key == kKeyLetGo || key == kKeyHangCreate ? 0 : 5;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_getParameterValueLong(void* session, uint32_t key,
                                                                  int64_t* value) {
  pthread_mutex_lock(&lock);
  *value = key == kKeyLive ? live : ((Session*)session)->fault;
  pthread_mutex_unlock(&lock);
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride,
                                                      uint32_t width, uint32_t height, uint32_t frameType,
                                                      uint64_t timecode, void** frames, uint32_t* sizes,
                                                      uint32_t* frameTypes, uint64_t* timecodes,
                                                      uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  uint32_t told[] = {*(uint8_t*)plane, stride, width, height, it->width, it->height, it->bitrate, *count};
  if (it->fault == kHangAdd) hang();
  if (it->fault == kStatus) return QVS_PLUGIN_INIT_ENCODER;
  *count = it->fault == kDelay ? 0 : it->fault == kCount ? 21 : 2;
  if (it->fault == kDelay) it->held += 2;
  for (uint32_t i = 0; i < *count && i < QVS_VIDEO_ENCODER_FRAMES_MAX; ++i) {
    frames[i] = it->fault == kNull && i == 0 ? NULL : it->create(it->host, sizeof told);
    if (frames[i] != NULL) memcpy(frames[i], told, sizeof told);
    sizes[i] = it->fault == kSize && i == 0 ? 0xFFFFFFFFu : sizeof told;
    frameTypes[i] = frameType;
    timecodes[i] = timecode + (it->fault == kRepeat ? 0 : i);
    timecodeOffsets[i] = (uint64_t)-3;
  }
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_drain(void* session, void** frames, uint32_t* sizes,
                                                  uint32_t* frameTypes, uint64_t* timecodes,
                                                  uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  (void)timecodeOffsets;
  *count = it->held < 20 ? it->held : 20;
  if (it->fault == kEndless) *count = 1;
  it->held -= it->fault == kEndless ? 0 : *count;
  for (uint32_t i = 0; i < *count; ++i) {
    frames[i] = it->create(it->host, 1);
    sizes[i] = 1;
    frameTypes[i] = 2;
    timecodes[i] = 1000 + i;
  }
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_getProblem(void* session, char* text, uint32_t size) {
  snprintf(text, size, "%s", ((Session*)session)->fault == kStatus ? "a picture of mud" : "");
  return 0;
}

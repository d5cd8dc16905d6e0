/* An encoder plug-in that codes nothing: each coded frame is what it was told. Key 1 chooses what it gets wrong. */
#include <stdlib.h>

#include "qvs/video_encoder.h"

enum { kKeyFault = 1, kKeyLive = 2, kFaultDelay = 1, kFaultCount, kFaultNull, kFaultStatus };

typedef struct Session {
  void* host;
  QvsByteArrayNew create;
  uint32_t width, height, bitrate;
  int64_t fault;
} Session;

static int64_t live; /* sessions not destroyed */

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t len, uint32_t* major,
                                                       uint32_t* minor) {
  (void)buffer, (void)len;
  *major = 3;
  *minor = 7;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_create(void** session) {
  *session = calloc(1, sizeof(Session));
  ++live;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_destroy(void* session) {
  free(session);
  --live;
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
  return ((Session*)session)->bitrate == 0 ? 99 : 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_setParameterValueLong(void* session, uint32_t key,
                                                                  int64_t value) {
  if (key == kKeyFault) ((Session*)session)->fault = value;
  return key == kKeyFault ? 0 : 5;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_getParameterValueLong(void* session, uint32_t key,
                                                                  int64_t* value) {
  *value = key == kKeyLive ? live : ((Session*)session)->fault;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride,
                                                      uint32_t width, uint32_t height, uint32_t frameType,
                                                      uint64_t timecode, void** frames, uint32_t* sizes,
                                                      uint32_t* frameTypes, uint64_t* timecodes,
                                                      uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  uint32_t told[] = {*(uint8_t*)plane, stride, width, height, it->width, it->height, it->bitrate, *count};
  if (it->fault == kFaultStatus) return QVS_PLUGIN_INIT_ENCODER;
  *count = it->fault == kFaultDelay ? 0 : it->fault == kFaultCount ? 21 : 2;
  for (uint32_t i = 0; i < *count && i < QVS_VIDEO_ENCODER_FRAMES_MAX; ++i) {
    frames[i] = it->fault == kFaultNull && i == 0 ? NULL : it->create(it->host, sizeof told);
    if (frames[i] != NULL) memcpy(frames[i], told, sizeof told);
    sizes[i] = sizeof told;
    frameTypes[i] = frameType;
    timecodes[i] = timecode + i;
    timecodeOffsets[i] = (uint64_t)-3;
  }
  return 0;
}

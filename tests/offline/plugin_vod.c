/* An off-line plug-in that gives each frame back with its bytes in an array, twice where the width says so. What goes
 * wrong is chosen by the profile of the settings. */
#include <stdlib.h>
#include <string.h>

#include "qvs/vod_transcoder.h"

enum { FAIL = 1, TOO_MANY, STRANGE_ARRAY, LONGER_THAN_ARRAY, FREED };

typedef struct Session {
  void* host;
  QvsByteArrayNew create;
  QvsByteArrayFree release;
  QvsByteArrayLock lock;
  QvsByteArrayUnlock unlock;
} Session;

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_create(void** session) {
  *session = calloc(1, sizeof(Session));
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_destroy(void* session) {
  free(session);
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                                           QvsByteArrayFree release, QvsByteArrayLock lock,
                                                           QvsByteArrayUnlock unlock) {
  const Session made = {host, create, release, lock, unlock};
  *(Session*)session = made;
  return 0;
}

static void* array_of(Session* it, const uint8_t* bytes, uint32_t len) {
  void* array = it->create(it->host, len);
  uint8_t* to = it->lock(it->host, array);
  memcpy(to, bytes, len);
  it->unlock(it->host, array, to);
  return array;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_transcode(void* session, VODTranscoderVideoSettings* settings,
                                                       VideoFrameEncodedData* in, uint32_t inCount,
                                                       VideoFrameEncodedData* out, uint32_t* outCount) {
  static int mine;
  Session* it = session;
  const uint32_t room = *outCount;
  uint32_t count = 0;
  if (settings->videoProfile == FAIL) {
    *outCount = 0;
    return 9;
  }
  for (uint32_t i = 0; i < inCount; ++i) {
    VideoFrameEncodedData frame = in[i];
    frame.buffer = NULL;
    frame.jbuffer = array_of(it, in[i].buffer, in[i].len);
    if (settings->videoProfile == STRANGE_ARRAY) frame.jbuffer = &mine;
    if (settings->videoProfile == LONGER_THAN_ARRAY) frame.len += 1;
    if (settings->videoProfile == FREED) it->release(it->host, frame.jbuffer);
    out[count++] = frame;
  }
  /* The room itself is a frame that tells what it was. */
  if (settings->videoWidth == room && inCount > 0) {
    out[count] = out[0];
    out[count++].jbuffer = array_of(it, (const uint8_t*)"room", 4);
    out[count - 1].len = 4;
  }
  *outCount = settings->videoProfile == TOO_MANY ? 0xFFFFFFFFu : count;
  return 0;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_getCodecConfig(void* session,
                                                            VODTranscoderVideoSettings* settings,
                                                            VideoFrameEncodedData* frame) {
  if (settings->videoProfile == FAIL) return 9;
  frame->jbuffer = array_of(session, settings->videoHeader, settings->videoHeaderLen);
  frame->len = settings->videoHeaderLen;
  frame->timecode = 77;
  return 0;
}

/* A complete off-line plug-in in plain C, to copy and fill in. It gives each picture back as it came, with lengths in
 * front of its units in place of start codes; what a real one adds is to decode, scale and encode in between. The
 * contract is "qvs/vod_transcoder.h". The transcoder makes a session for each batch and destroys it behind it. */
#include "qvs/vod_transcoder.h"

#include <stdlib.h>
#include <string.h>

typedef struct Session {
  void* host; /* the transcoder's allocator */
  QvsByteArrayNew create;
  QvsByteArrayFree release;
  QvsByteArrayLock lock;
  QvsByteArrayUnlock unlock;
} Session;

/* ---- Units ---- */

/* The bytes behind the next start code at or after `at`; `length` is 0 where there is none. */
static const uint8_t* nextUnit(const uint8_t* at, const uint8_t* end, uint32_t* length) {
  const uint8_t* stop;
  *length = 0;
  while (at + 3 <= end && !(at[0] == 0 && at[1] == 0 && at[2] == 1)) ++at;
  if (at + 3 > end) return end;
  at += 3;
  for (stop = at; stop + 3 <= end && !(stop[0] == 0 && stop[1] == 0 && stop[2] <= 1);) ++stop;
  if (stop + 3 > end) stop = end;
  *length = (uint32_t)(stop - at);
  return at;
}

/* Delimiters are no part of what comes out. */
static int isKept(const uint8_t* unit, uint32_t length) {
  return length > 0 && (unit[0] & 31) != 9;
}

/* Writes each unit behind its length; with null for `to` only counts. The bytes. */
static uint32_t withLengths(const uint8_t* from, uint32_t size, uint8_t* to) {
  const uint8_t* const end = from + size;
  uint32_t bytes = 0, length = 0;
  for (const uint8_t* unit = nextUnit(from, end, &length); unit < end;
       unit = nextUnit(unit + length, end, &length)) {
    if (!isKept(unit, length)) continue;
    if (to != NULL) {
      for (int i = 0; i < 4; ++i) to[bytes + i] = (uint8_t)(length >> (24 - 8 * i));
      memcpy(to + bytes + 4, unit, length);
    }
    bytes += 4 + length;
  }
  return bytes;
}

/* ---- The work, which you replace ---- */

/* Bytes leave in arrays of the transcoder, written between lock and unlock. */
static int32_t give(Session* it, const uint8_t* from, uint32_t size, VideoFrameEncodedData* frame) {
  uint8_t* bytes;
  frame->buffer = NULL;
  frame->len = withLengths(from, size, NULL);
  frame->jbuffer = it->create(it->host, frame->len);
  if (frame->jbuffer == NULL) return QVS_PLUGIN_ALLOCATE_BUFFER;
  bytes = it->lock(it->host, frame->jbuffer);
  if (bytes == NULL) {
    if (it->release != NULL) it->release(it->host, frame->jbuffer);
    return QVS_PLUGIN_ALLOCATE_BUFFER;
  }
  withLengths(from, size, bytes);
  it->unlock(it->host, frame->jbuffer, bytes);
  return QVS_PLUGIN_OK;
}

/* ---- Entry points ---- */

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_create(void** session) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  *session = calloc(1, sizeof(Session));
  return *session != NULL ? QVS_PLUGIN_OK : QVS_PLUGIN_ALLOCATE_BUFFER;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_destroy(void* session) {
  free(session);
  return QVS_PLUGIN_OK;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                                           QvsByteArrayFree release, QvsByteArrayLock lock,
                                                           QvsByteArrayUnlock unlock) {
  const Session made = {host, create, release, lock, unlock};
  if (session == NULL || create == NULL || lock == NULL || unlock == NULL) return QVS_PLUGIN_CREATE_ALLOCATOR;
  *(Session*)session = made;
  return QVS_PLUGIN_OK;
}

/* A failed batch gives nothing: what it has made so far goes back. */
QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_transcode(void* session, VODTranscoderVideoSettings* settings,
                                                       VideoFrameEncodedData* in, uint32_t inCount,
                                                       VideoFrameEncodedData* out, uint32_t* outCount) {
  Session* it = session;
  int32_t status = QVS_PLUGIN_OK;
  uint32_t room, count = 0;
  if (outCount == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  room = *outCount;
  *outCount = 0;
  if (it == NULL || it->create == NULL || settings == NULL || out == NULL || (in == NULL && inCount != 0)) {
    return QVS_PLUGIN_CREATE_ENCODER;
  }
  for (uint32_t i = 0; i < inCount && status == QVS_PLUGIN_OK; ++i) {
    if (withLengths(in[i].buffer, in[i].len, NULL) == 0) continue;
    if (count == room) {
      status = QVS_PLUGIN_ALLOCATE_BUFFER;
      break;
    }
    /* Times, type and the index of its packet stay with a picture. */
    out[count] = in[i];
    status = give(it, in[i].buffer, in[i].len, &out[count]);
    if (status == QVS_PLUGIN_OK) ++count;
  }
  if (status == QVS_PLUGIN_OK) *outCount = count;
  while (status != QVS_PLUGIN_OK && count > 0) {
    if (it->release != NULL) it->release(it->host, out[count - 1].jbuffer);
    --count;
  }
  return status;
}

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_getCodecConfig(void* session,
                                                            VODTranscoderVideoSettings* settings,
                                                            VideoFrameEncodedData* frame) {
  Session* it = session;
  if (it == NULL || it->create == NULL || settings == NULL || frame == NULL ||
      settings->videoHeader == NULL) {
    return QVS_PLUGIN_CREATE_ENCODER;
  }
  memset(frame, 0, sizeof *frame);
  frame->frameType = QVS_FRAME_KEY;
  frame->codecConfig = 1;
  frame->vodPacketsIndex = -1;
  return give(it, settings->videoHeader, settings->videoHeaderLen, frame);
}

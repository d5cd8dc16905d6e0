/* A complete encoder plug-in in plain C, to copy and fill in. It codes H.264 whose macroblocks hold the samples
 * themselves, so that any player shows exactly what went in, at the size of raw pictures; what a real one adds is the
 * coding. The contract is "qvs/video_encoder.h". Entry points that you can't offer are left out of the library, as
 * addFrame3, encodeFrame and others are here: the transcoder then does without them. */
#include "qvs/video_encoder.h"

#include <stdio.h>
#include <stdlib.h>

/* Choose numbers that no other plug-in has; a parameter list may go to several. */
enum { KEY_DISTANCE = 990000, DISTANCE_LOW = 1, DISTANCE_HIGH = 1000, DISTANCE_DEFAULT = 50 };

typedef struct Session {
  void* host; /* the transcoder's allocator */
  QvsByteArrayNew create;
  QvsByteArrayLock lock;
  QvsByteArrayUnlock unlock;
  uint32_t width, height;
  int64_t keyDistance; /* pictures */
  uint32_t keyFrameFollow;
  /* While it runs. */
  uint8_t* scratch;  /* room for the largest coded picture; null: initialize has not succeeded */
  uint32_t sinceKey; /* pictures since the last key frame */
  uint32_t keyCount;
  int ended; /* by drain */
  const char* problem;
} Session;

/* ---- The coding, which you replace ---- */

/* Writes bits as a NAL unit holds them: a 3 in front of a byte that would make a start code. */
typedef struct Bits {
  uint8_t* at;
  uint32_t pending, count, zeros;
} Bits;

static void putByte(Bits* bits, uint8_t byte) {
  if (bits->zeros >= 2 && byte <= 3) {
    *bits->at++ = 3;
    bits->zeros = 0;
  }
  *bits->at++ = byte;
  bits->zeros = byte == 0 ? bits->zeros + 1 : 0;
}

static void put(Bits* bits, uint32_t value, uint32_t count) {
  while (count-- > 0) {
    bits->pending = bits->pending << 1 | (value >> count & 1);
    if (++bits->count == 8) {
      putByte(bits, (uint8_t)bits->pending);
      bits->count = 0;
    }
  }
}

/* Exp-Golomb. */
static void putUe(Bits* bits, uint32_t value) {
  uint32_t length = 0;
  while ((value + 1) >> (length + 1) != 0) ++length;
  put(bits, 0, length);
  put(bits, value + 1, length + 1);
}

static void align(Bits* bits) {
  if (bits->count != 0) put(bits, 0, 8 - bits->count);
}

/* A unit begins with room for its length, which endUnit fills in. */
static Bits beginUnit(uint8_t* at, uint8_t header) {
  Bits bits = {at + 5, 0, 0, 0};
  at[4] = header;
  return bits;
}

static uint8_t* endUnit(Bits* bits, uint8_t* unit) {
  put(bits, 1, 1);
  align(bits);
  const uint32_t length = (uint32_t)(bits->at - unit - 4);
  for (int i = 0; i < 4; ++i) unit[i] = (uint8_t)(length >> (24 - 8 * i));
  return bits->at;
}

static uint32_t macroblocks(uint32_t side) {
  return (side + 15) / 16;
}

static uint8_t* putSequence(const Session* it, uint8_t* to) {
  Bits bits = beginUnit(to, 0x67);
  const uint32_t columns = macroblocks(it->width), rows = macroblocks(it->height);
  put(&bits, 66, 8);   /* baseline */
  put(&bits, 0xC0, 8); /* also constrained */
  put(&bits, 51, 8);   /* level 5.1 */
  putUe(&bits, 0);     /* number of this set */
  putUe(&bits, 0);     /* four bits of frame_num */
  putUe(&bits, 2);     /* shown in the order of decoding */
  putUe(&bits, 1);     /* reference frames */
  put(&bits, 0, 1);
  putUe(&bits, columns - 1);
  putUe(&bits, rows - 1);
  put(&bits, 3, 2); /* frames only, whole 8x8 blocks */
  put(&bits, 1, 1); /* cropped at the right and the bottom, in pairs of samples */
  putUe(&bits, 0);
  putUe(&bits, 8 * columns - it->width / 2);
  putUe(&bits, 0);
  putUe(&bits, 8 * rows - it->height / 2);
  put(&bits, 0, 1); /* nothing about colours and times */
  return endUnit(&bits, to);
}

static uint8_t* putPicture(uint8_t* to) {
  Bits bits = beginUnit(to, 0x68);
  putUe(&bits, 0);
  putUe(&bits, 0);
  put(&bits, 0, 2);
  for (int i = 0; i < 3; ++i) putUe(&bits, 0);
  put(&bits, 0, 3);
  for (int i = 0; i < 3; ++i) putUe(&bits, 0);
  put(&bits, 0, 3);
  return endUnit(&bits, to);
}

/* The samples of a square of `side`, where the picture ends its last ones again. */
static void putSquare(Bits* bits, const uint8_t* plane, uint32_t stride, uint32_t width, uint32_t height,
                      uint32_t left, uint32_t top, uint32_t side) {
  for (uint32_t y = top; y < top + side; ++y) {
    const uint8_t* row = plane + (size_t)stride * (y < height ? y : height - 1);
    for (uint32_t x = left; x < left + side; ++x) putByte(bits, row[x < width ? x : width - 1]);
  }
}

static uint8_t* putSlice(const Session* it, uint8_t* to, int isKey, const uint8_t* luma, uint32_t stride) {
  const uint32_t chromaStride = (stride + 1) / 2, chromaWidth = (it->width + 1) / 2,
                 chromaHeight = (it->height + 1) / 2;
  const uint8_t* v = luma + (size_t)stride * it->height;
  const uint8_t* u = v + (size_t)chromaStride * chromaHeight;
  Bits bits = beginUnit(to, isKey ? 0x65 : 0x41);
  putUe(&bits, 0); /* first macroblock */
  putUe(&bits, 7); /* all of the picture is intra */
  putUe(&bits, 0); /* picture parameter set */
  put(&bits, it->sinceKey % 16, 4);
  if (isKey) putUe(&bits, it->keyCount % 2);
  put(&bits, 0, isKey ? 2 : 1); /* kept as a reference in the plain way */
  putUe(&bits, 0);              /* quantiser as in the set */
  for (uint32_t y = 0; y < macroblocks(it->height); ++y) {
    for (uint32_t x = 0; x < macroblocks(it->width); ++x) {
      putUe(&bits, 25); /* the samples themselves */
      align(&bits);
      putSquare(&bits, luma, stride, it->width, it->height, 16 * x, 16 * y, 16);
      putSquare(&bits, u, chromaStride, chromaWidth, chromaHeight, 8 * x, 8 * y, 8);
      putSquare(&bits, v, chromaStride, chromaWidth, chromaHeight, 8 * x, 8 * y, 8);
    }
  }
  return endUnit(&bits, to);
}

/* ---- The entry points ---- */

static int32_t fail(Session* it, int32_t status, const char* why) {
  it->problem = why;
  return status;
}

static void* plainNew(void* host, uint32_t size) {
  (void)host;
  return malloc(size);
}

static uint8_t* plainLock(void* host, void* array) {
  (void)host;
  return array;
}

static void plainUnlock(void* host, void* array, uint8_t* bytes) {
  (void)host, (void)array, (void)bytes;
}

int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  if (major != NULL) *major = 1;
  if (minor != NULL) *minor = 0;
  if (buffer != NULL && bufferLen > 0) snprintf((char*)buffer, bufferLen, "template 1.0");
  return QVS_PLUGIN_OK; /* else why this machine can't run it */
}

int32_t zarvoVideoEncoder_create(void** session) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  Session* it = calloc(1, sizeof *it);
  *session = it;
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  it->keyDistance = DISTANCE_DEFAULT;
  it->problem = "";
  it->create = plainNew;
  it->lock = plainLock;
  it->unlock = plainUnlock;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_destroy(void* session) {
  Session* it = session;
  if (it != NULL) free(it->scratch);
  free(it);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setAllocator(void* session, void* host, QvsByteArrayNew create,
                                       QvsByteArrayLock lock, QvsByteArrayUnlock unlock) {
  Session* it = session;
  if (it == NULL || create == NULL || lock == NULL || unlock == NULL) return QVS_PLUGIN_ALLOCATE_BUFFER;
  it->host = host;
  it->create = create;
  it->lock = lock;
  it->unlock = unlock;
  return QVS_PLUGIN_OK;
}

/* Frames are handed out in the call that makes them, so this plug-in never has any to give back. */
int32_t zarvoVideoEncoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                        QvsByteArrayFree release, QvsByteArrayLock lock,
                                        QvsByteArrayUnlock unlock) {
  (void)release;
  return zarvoVideoEncoder_setAllocator(session, host, create, lock, unlock);
}

int32_t zarvoVideoEncoder_setFrameSize(void* session, uint32_t width, uint32_t height) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  if (width < 2 || height < 2 || width > 8192 || height > 8192) {
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "a side is outside 2 to 8192");
  }
  it->width = width;
  it->height = height;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setFrameRate(void* session, double frameRate) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  return frameRate > 0 ? QVS_PLUGIN_OK
                       : fail(session, QVS_PLUGIN_INIT_ENCODER, "the frame rate is not above 0");
}

/* Samples have the rate that they have; a real encoder aims at this one. */
int32_t zarvoVideoEncoder_setBitrate(void* session, uint32_t bitrate) {
  (void)bitrate;
  return session != NULL ? QVS_PLUGIN_OK : QVS_PLUGIN_CREATE_ENCODER;
}

int32_t zarvoVideoEncoder_updateBitrate(void* session, uint32_t bitrate) {
  return zarvoVideoEncoder_setBitrate(session, bitrate);
}

int32_t zarvoVideoEncoder_setKeyFrameFollow(void* session, uint32_t follow) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  ((Session*)session)->keyFrameFollow = follow;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_initialize(void* session) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  free(it->scratch);
  it->scratch = NULL;
  it->sinceKey = it->keyCount = 0;
  it->ended = 0;
  if (it->width == 0) return fail(it, QVS_PLUGIN_INIT_ENCODER, "no frame size is set");
  /* 384 samples and a few bits; one byte in three may need a 3 in front. */
  const size_t blocks = (size_t)macroblocks(it->width) * macroblocks(it->height);
  it->scratch = malloc(blocks * 388 * 3 / 2 + 256);
  return it->scratch != NULL ? QVS_PLUGIN_OK
                             : fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for coded pictures");
}

int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride, uint32_t width,
                                    uint32_t height, uint32_t frameType, uint64_t timecode, void** frames,
                                    uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,
                                    uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  if (it == NULL || count == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  const uint32_t room = *count;
  *count = 0;
  if (it->scratch == NULL || it->ended)
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "initialize must come before pictures");
  if (plane == NULL || width != it->width || height != it->height || stride < width) {
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "a picture of another size than was set");
  }
  if (frames == NULL || sizes == NULL || frameTypes == NULL || timecodes == NULL || timecodeOffsets == NULL ||
      room == 0) {
    return fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "no room for coded frames");
  }

  const int due = !it->keyFrameFollow && it->sinceKey >= it->keyDistance;
  const int isKey = frameType == QVS_FRAME_KEY || it->keyCount == 0 || due;
  if (isKey) it->sinceKey = 0;
  uint8_t* end = it->scratch;
  if (isKey) end = putPicture(putSequence(it, end));
  end = putSlice(it, end, isKey, plane, stride);

  const uint32_t size = (uint32_t)(end - it->scratch);
  void* array = it->create(it->host, size);
  if (array == NULL) {
    it->keyCount = 0; /* the next picture is a key frame: this one is missing in between */
    return fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "the transcoder has no memory for a frame");
  }
  uint8_t* bytes = it->lock(it->host, array);
  memcpy(bytes, it->scratch, size);
  it->unlock(it->host, array, bytes);
  it->sinceKey++;
  if (isKey) it->keyCount++;
  frames[0] = array;
  sizes[0] = size;
  frameTypes[0] = isKey ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
  timecodes[0] = timecode;
  timecodeOffsets[0] = 0; /* shown when it is decoded */
  *count = 1;
  return QVS_PLUGIN_OK;
}

/* Nothing is ever held back here. An encoder with B pictures or look-ahead hands out the rest. */
int32_t zarvoVideoEncoder_drain(void* session, void** frames, uint32_t* sizes, uint32_t* frameTypes,
                                uint64_t* timecodes, uint64_t* timecodeOffsets, uint32_t* count) {
  (void)frames, (void)sizes, (void)frameTypes, (void)timecodes, (void)timecodeOffsets;
  if (session == NULL || count == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  ((Session*)session)->ended = 1;
  *count = 0;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_getParameterValueType(void* session, uint32_t key, uint32_t* arrayLength) {
  (void)session;
  if (arrayLength != NULL) *arrayLength = 0;
  return key == KEY_DISTANCE ? 1 : 0;
}

/* Keys of others are let pass: one list goes to all plug-ins. */
int32_t zarvoVideoEncoder_setParameterValueLong(void* session, uint32_t key, int64_t value) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  if (key != KEY_DISTANCE) return QVS_PLUGIN_OK;
  if (value < DISTANCE_LOW || value > DISTANCE_HIGH) {
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "keyDistance is outside 1 to 1000");
  }
  it->keyDistance = value;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_getParameterValueLong(void* session, uint32_t key, int64_t* value) {
  if (session == NULL || value == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  *value = key == KEY_DISTANCE ? ((Session*)session)->keyDistance : 0;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_getProblem(void* session, char* text, uint32_t size) {
  if (text == NULL || size == 0) return QVS_PLUGIN_OK;
  snprintf(text, size, "%s", session != NULL ? ((Session*)session)->problem : "no session");
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_describe(char* text, uint32_t size, uint32_t* needed) {
  const int length =
      snprintf(text, text != NULL ? size : 0,
               "{\"name\":\"template\",\"codecs\":[\"H.264\"],\"standsOn\":\"nothing\","
               "\"maxWidth\":8192,\"maxHeight\":8192,\"keys\":[{\"key\":%d,\"name\":\"keyDistance\","
               "\"type\":\"long\",\"low\":%d,\"high\":%d,\"default\":%d,"
               "\"does\":\"Pictures from one key frame to the next\"}]}",
               KEY_DISTANCE, DISTANCE_LOW, DISTANCE_HIGH, DISTANCE_DEFAULT);
  if (needed != NULL) *needed = (uint32_t)length + 1;
  return QVS_PLUGIN_OK;
}

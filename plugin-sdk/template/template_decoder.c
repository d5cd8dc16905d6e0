/* A complete decoder plug-in in plain C, to copy and fill in. It decodes the H.264 that the encoder template makes, whose
 * macroblocks hold the samples themselves, and refuses all other; what a real one adds is the decoding. The contract is
 * "qvs/video_decoder.h". Entry points that you can't offer are left out of the library: the transcoder then does without
 * them. */
#include "qvs/video_decoder.h"

#include <stdio.h>
#include <stdlib.h>

#define FOURCC(a, b, c, d) ((uint32_t)(a) | (uint32_t)(b) << 8 | (uint32_t)(c) << 16 | (uint32_t)(d) << 24)

enum { SIDE_MAX = 8192 };

typedef struct Session {
  int isOpen;
  uint32_t fourcc;
  uint32_t columns, rows; /* macroblocks; 0: no sequence yet */
  uint32_t width, height; /* of the picture, even */
  uint8_t* picture;       /* Y, U and V of whole macroblocks */
  int hasPicture;         /* until the next step */
  uint32_t frameType;
  uint64_t timecode;
  const uint8_t* unit; /* the transcoder's, until the next addFrame; null: used up */
  uint32_t unitLength;
  uint32_t unitType;
  uint64_t unitTimecode;
  const char* problem;
} Session;

static int32_t fail(Session* it, int32_t status, const char* why) {
  it->problem = why;
  return status;
}

/* ---- The decoding, which you replace ---- */

/* Reads bits of a NAL unit, without the 3 that stands between zeros. At its end come zeros, and `isOver`. */
typedef struct Bits {
  const uint8_t *at, *end;
  uint32_t current, count, zeros;
  int isOver;
} Bits;

static uint8_t takeByte(Bits* bits) {
  if (bits->zeros >= 2 && bits->at < bits->end && *bits->at == 3) {
    bits->at++;
    bits->zeros = 0;
  }
  if (bits->at >= bits->end) {
    bits->isOver = 1;
    return 0;
  }
  const uint8_t byte = *bits->at++;
  bits->zeros = byte == 0 ? bits->zeros + 1 : 0;
  return byte;
}

static uint32_t take(Bits* bits, uint32_t count) {
  uint32_t value = 0;
  while (count-- > 0) {
    if (bits->count == 0) {
      bits->current = takeByte(bits);
      bits->count = 8;
    }
    value = value << 1 | (bits->current >> --bits->count & 1);
  }
  return value;
}

static uint32_t takeUe(Bits* bits) {
  uint32_t length = 0;
  while (take(bits, 1) == 0) {
    if (bits->isOver || ++length > 31) {
      bits->isOver = 1;
      return 0;
    }
  }
  return (uint32_t)((1ull << length) - 1) + take(bits, length);
}

static int32_t readSequence(Session* it, Bits bits) {
  if (take(&bits, 8) != 66) return fail(it, QVS_PLUGIN_PARSE_HEADER, "the profile is not baseline");
  take(&bits, 16);
  takeUe(&bits);
  if (takeUe(&bits) != 0 || takeUe(&bits) != 2) {
    return fail(it, QVS_PLUGIN_PARSE_HEADER, "the stream is not one of the encoder template's");
  }
  takeUe(&bits);
  take(&bits, 1);
  const uint32_t columns = takeUe(&bits) + 1, rows = takeUe(&bits) + 1;
  take(&bits, 2);
  uint32_t crop[4] = {0, 0, 0, 0}; /* left, right, top, bottom, in pairs */
  for (uint32_t i = 0, isCropped = take(&bits, 1); isCropped && i < 4; ++i) crop[i] = takeUe(&bits);
  if (bits.isOver || columns > SIDE_MAX / 16 || rows > SIDE_MAX / 16 || crop[0] != 0 || crop[2] != 0 ||
      crop[1] >= 8 * columns || crop[3] >= 8 * rows) {
    return fail(it, QVS_PLUGIN_PARSE_HEADER, "the sequence parameter set is not whole");
  }
  if (columns != it->columns || rows != it->rows) {
    free(it->picture);
    it->columns = it->rows = 0;
    it->picture = malloc((size_t)columns * rows * 384);
    if (it->picture == NULL) return fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "no memory for a picture");
  }
  it->columns = columns;
  it->rows = rows;
  it->width = 16 * columns - 2 * crop[1];
  it->height = 16 * rows - 2 * crop[3];
  return QVS_PLUGIN_OK;
}

static void takeSquare(Bits* bits, uint8_t* to, size_t stride, uint32_t side) {
  for (uint32_t y = 0; y < side; ++y, to += stride) {
    for (uint32_t x = 0; x < side; ++x) to[x] = takeByte(bits);
  }
}

static int32_t readSlice(Session* it, Bits bits, int isKey) {
  const size_t stride = 16 * (size_t)it->columns, luma = stride * 16 * it->rows;
  if (it->columns == 0) return fail(it, QVS_PLUGIN_PARSE_HEADER, "a slice comes before its sequence");
  if (takeUe(&bits) != 0 || takeUe(&bits) != 7)
    return fail(it, QVS_PLUGIN_PARSE_HEADER, "a slice is not all of a picture");
  takeUe(&bits);
  take(&bits, 4);
  if (isKey) takeUe(&bits);
  take(&bits, isKey ? 2 : 1);
  takeUe(&bits);
  for (uint32_t y = 0; y < it->rows; ++y) {
    for (uint32_t x = 0; x < it->columns; ++x) {
      if (takeUe(&bits) != 25)
        return fail(it, QVS_PLUGIN_INIT_DECODER, "a macroblock does not hold its samples");
      bits.count = 0;
      takeSquare(&bits, it->picture + stride * 16 * y + 16 * x, stride, 16);
      uint8_t* chroma = it->picture + luma + stride / 2 * 8 * y + 8 * x;
      takeSquare(&bits, chroma, stride / 2, 8);
      takeSquare(&bits, chroma + luma / 4, stride / 2, 8);
    }
  }
  if (bits.isOver) return fail(it, QVS_PLUGIN_INIT_DECODER, "a picture ends before its last macroblock");
  it->hasPicture = 1;
  return QVS_PLUGIN_OK;
}

static int32_t readUnit(Session* it, const uint8_t* unit, uint32_t length) {
  const Bits bits = {unit + 1, unit + length, 0, 0, 0, 0};
  const uint32_t type = unit[0] & 31;
  if (type == 7) return readSequence(it, bits);
  if (type == 5 || type == 1) return readSlice(it, bits, type == 5);
  return QVS_PLUGIN_OK;
}

static int32_t readUnits(Session* it) {
  const uint8_t* at = it->unit;
  uint32_t left = it->unitLength;
  while (left > 4) {
    const uint32_t length = (uint32_t)at[0] << 24 | (uint32_t)at[1] << 16 | (uint32_t)at[2] << 8 | at[3];
    if (length == 0 || length > left - 4) break;
    const int32_t status = readUnit(it, at + 4, length);
    if (status != QVS_PLUGIN_OK) return status;
    at += 4 + length;
    left -= 4 + length;
  }
  return left == 0 ? QVS_PLUGIN_OK
                   : fail(it, QVS_PLUGIN_PARSE_HEADER, "the lengths of a unit don't come out");
}

/* ---- The entry points ---- */

int32_t zarvoVideoDecoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  if (major != NULL) *major = 1;
  if (minor != NULL) *minor = 0;
  if (buffer != NULL && bufferLen > 0) snprintf((char*)buffer, bufferLen, "template 1.0");
  return QVS_PLUGIN_OK; /* else why this machine can't run it */
}

int32_t zarvoVideoDecoder_create(void** session) {
  if (session == NULL) return QVS_PLUGIN_CREATE_DECODER;
  Session* it = calloc(1, sizeof *it);
  *session = it;
  if (it == NULL) return QVS_PLUGIN_CREATE_DECODER;
  it->fourcc = FOURCC('Y', 'V', '1', '2');
  it->problem = "";
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoDecoder_close(void* session) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_DECODER;
  free(it->picture);
  it->picture = NULL;
  it->unit = NULL;
  it->isOpen = it->hasPicture = 0;
  it->columns = it->rows = it->width = it->height = 0;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoDecoder_destroy(void* session) {
  zarvoVideoDecoder_close(session);
  free(session);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoDecoder_initialize(void* session) {
  if (zarvoVideoDecoder_close(session) != QVS_PLUGIN_OK) return QVS_PLUGIN_CREATE_DECODER;
  ((Session*)session)->isOpen = 1;
  return QVS_PLUGIN_OK;
}

void zarvoVideoDecoder_setFourcc(void* session, uint32_t fourcc) {
  if (session != NULL) ((Session*)session)->fourcc = fourcc;
}

/* The record of MP4: one sequence set behind eight bytes. The other kind isn't needed here. */
uint32_t zarvoVideoDecoder_decodeCodecConfig(void* session, uint8_t* buffer, uint32_t offset, uint32_t len) {
  Session* it = session;
  if (it == NULL || buffer == NULL) return QVS_PLUGIN_PARSE_HEADER;
  const uint8_t* record = buffer + offset;
  if (!it->isOpen) return (uint32_t)fail(it, QVS_PLUGIN_INIT_DECODER, "initialize must come first");
  if (len < 9 || record[0] != 1 || (record[4] & 3) != 3 || (record[5] & 31) == 0) {
    return (uint32_t)fail(it, QVS_PLUGIN_PARSE_HEADER,
                          "the record is not one of H.264 with lengths of four bytes");
  }
  const uint32_t length = (uint32_t)record[6] << 8 | record[7];
  if (length == 0 || length > len - 8)
    return (uint32_t)fail(it, QVS_PLUGIN_PARSE_HEADER, "the record is cut short");
  return (uint32_t)readUnit(it, record + 8, length);
}

uint32_t zarvoVideoDecoder_addFrame(void* session, uint8_t* buffer, uint32_t offset, uint32_t len,
                                    uint64_t timecode, uint32_t frameType) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_DECODER;
  it->unit = NULL;
  if (!it->isOpen) return (uint32_t)fail(it, QVS_PLUGIN_INIT_DECODER, "initialize must come first");
  if (buffer == NULL) return (uint32_t)fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "no bytes");
  it->unit = buffer + offset;
  it->unitLength = len;
  it->unitType = frameType;
  it->unitTimecode = timecode;
  return QVS_PLUGIN_OK;
}

/* Pictures come out as they go in. A decoder that puts them in order answers several steps of a flush with one each. */
uint32_t zarvoVideoDecoder_decode2(void* session, uint32_t* flags, uint8_t flush) {
  Session* it = session;
  if (it == NULL || flags == NULL) return QVS_PLUGIN_CREATE_DECODER;
  *flags = QVS_DECODE_INPUT_DONE;
  it->hasPicture = 0;
  if (!it->isOpen) return (uint32_t)fail(it, QVS_PLUGIN_INIT_DECODER, "initialize must come first");
  if (it->unit == NULL) {
    if (flush) *flags |= QVS_DECODE_FLUSHED;
    return QVS_PLUGIN_OK;
  }
  it->frameType = it->unitType;
  it->timecode = it->unitTimecode;
  const int32_t status = readUnits(it);
  it->unit = NULL;
  if (status != QVS_PLUGIN_OK) *flags |= QVS_DECODE_FRAME_ERROR;
  if (it->hasPicture) *flags |= QVS_DECODE_PICTURE_DONE | QVS_DECODE_FRAME_AVAILABLE;
  return (uint32_t)status;
}

uint8_t zarvoVideoDecoder_isFrameDone(void* session) {
  return session == NULL || ((Session*)session)->unit == NULL;
}

static uint32_t widthOf(void* session) {
  return session != NULL ? ((Session*)session)->width : 0;
}

static uint32_t heightOf(void* session) {
  return session != NULL ? ((Session*)session)->height : 0;
}

uint32_t zarvoVideoDecoder_getFrameWidth(void* session) {
  return widthOf(session);
}

uint32_t zarvoVideoDecoder_getFrameHeight(void* session) {
  return heightOf(session);
}

uint32_t zarvoVideoDecoder_getDisplayWidth(void* session) {
  return widthOf(session);
}

uint32_t zarvoVideoDecoder_getDisplayHeight(void* session) {
  return heightOf(session);
}

uint32_t zarvoVideoDecoder_getDecodedFrameSize(void* session, uint32_t* frameWidth, uint32_t* frameHeight,
                                               uint32_t* displayWidth, uint32_t* displayHeight) {
  if (session == NULL) return QVS_PLUGIN_CREATE_DECODER;
  if (frameWidth != NULL) *frameWidth = widthOf(session);
  if (frameHeight != NULL) *frameHeight = heightOf(session);
  if (displayWidth != NULL) *displayWidth = widthOf(session);
  if (displayHeight != NULL) *displayHeight = heightOf(session);
  return QVS_PLUGIN_OK;
}

static void copyPlane(uint8_t* to, size_t toStride, const uint8_t* from, size_t fromStride, uint32_t width,
                      uint32_t height) {
  for (uint32_t y = 0; y < height; ++y, to += toStride, from += fromStride) memcpy(to, from, width);
}

uint32_t zarvoVideoDecoder_getDecodedFrame(void* session, void* buffer, uint32_t stride, uint32_t* width,
                                           uint32_t* height, uint32_t* frameType, uint64_t* flags,
                                           uint64_t* timecode) {
  Session* it = session;
  if (it == NULL || buffer == NULL) return QVS_PLUGIN_CREATE_DECODER;
  if (!it->hasPicture || stride < it->width) {
    return (uint32_t)fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "no picture is ready, or its rows don't fit");
  }
  const size_t from = 16 * (size_t)it->columns, luma = from * 16 * it->rows;
  uint8_t* first = (uint8_t*)buffer + (size_t)stride * it->height;
  uint8_t* second = first + (size_t)(stride / 2) * (it->height / 2);
  const int vFirst = it->fourcc == FOURCC('Y', 'V', '1', '2'); /* "I420" has U in front */
  copyPlane(buffer, stride, it->picture, from, it->width, it->height);
  copyPlane(vFirst ? second : first, stride / 2, it->picture + luma, from / 2, it->width / 2, it->height / 2);
  copyPlane(vFirst ? first : second, stride / 2, it->picture + luma * 5 / 4, from / 2, it->width / 2,
            it->height / 2);
  if (width != NULL) *width = it->width;
  if (height != NULL) *height = it->height;
  if (frameType != NULL) *frameType = it->frameType;
  if (flags != NULL) *flags = 0;
  if (timecode != NULL) *timecode = it->timecode;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoDecoder_getProblem(void* session, char* text, uint32_t size) {
  if (text == NULL || size == 0) return QVS_PLUGIN_OK;
  snprintf(text, size, "%s", session != NULL ? ((Session*)session)->problem : "no session");
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoDecoder_describe(char* text, uint32_t size, uint32_t* needed) {
  static const char kText[] =
      "{\"name\":\"template\",\"codecs\":[\"H.264\"],\"standsOn\":\"nothing\",\"maxWidth\":8192,"
      "\"maxHeight\":8192,"
      "\"keys\":[]}";
  if (text != NULL && size > 0) snprintf(text, size, "%s", kText);
  if (needed != NULL) *needed = sizeof kText;
  return QVS_PLUGIN_OK;
}

/* The template with one defect, chosen by DEFECT, for the validator to find. */
#include "qvs/video_encoder.h"

#define zarvoVideoEncoder_getVersion goodGetVersion
#define zarvoVideoEncoder_create goodCreate
#define zarvoVideoEncoder_destroy goodDestroy
#define zarvoVideoEncoder_setFrameSize goodSetFrameSize
#define zarvoVideoEncoder_initialize goodInitialize
#define zarvoVideoEncoder_addFrame2 goodAddFrame2
#define zarvoVideoEncoder_setParameterValueLong goodSetParameterValueLong
#define zarvoVideoEncoder_getProblem goodGetProblem
#define zarvoVideoEncoder_describe goodDescribe
#include "../../plugin-sdk/template/template_encoder.c"
#undef zarvoVideoEncoder_getVersion
#undef zarvoVideoEncoder_create
#undef zarvoVideoEncoder_destroy
#undef zarvoVideoEncoder_setFrameSize
#undef zarvoVideoEncoder_initialize
#undef zarvoVideoEncoder_addFrame2
#undef zarvoVideoEncoder_setParameterValueLong
#undef zarvoVideoEncoder_getProblem
#undef zarvoVideoEncoder_describe

#include <unistd.h>

enum {
  TELLS_21_FRAMES = 1,
  WRITES_BEYOND_ARRAY,
  WRITES_PICTURE,
  KEEPS_PICTURE,
  READS_BEYOND_PICTURE,
  CRASHES_ON_NULL,
  LEAKS_SESSION,
  LEAKS_FILE,
  KEEPS_ARRAY,
  LOSES_PICTURE,
  REPEATS_TIMECODE,
  FORGETS_KEY,
  LACKS_PARAMETER_SETS,
  GIVES_START_CODES,
  SWAPS_CHROMA,
  BLOCKS,
  ENDS_PROCESS,
  SHARES_SIZE,
  DEFAULT_OUT_OF_RANGE,
  TAKES_ANY_VALUE,
  REFUSES_WITHOUT_WORDS,
  NEGATIVE_STATUS,
  NO_ZERO_AT_END,
  USES_HANDLE,
  NEEDS_MEMORY,
  HANDS_OUT_TWICE,
  WORKS_NOWHERE,
  LACKS_CREATE,
  TAKES_RECORDS_ONLY /* allowed */
};

int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  if (DEFECT == WORKS_NOWHERE) return QVS_PLUGIN_OPEN_CARD;
  const int32_t status = goodGetVersion(buffer, bufferLen, major, minor);
  if (DEFECT == NO_ZERO_AT_END && buffer != NULL) memset(buffer, 'v', bufferLen);
  return status;
}

#if DEFECT != 28
int32_t zarvoVideoEncoder_create(void** session) {
  if (DEFECT == LEAKS_FILE && session != NULL) (void)dup(0);
  return goodCreate(session);
}
#endif

int32_t zarvoVideoEncoder_destroy(void* session) {
  return DEFECT == LEAKS_SESSION ? QVS_PLUGIN_OK : goodDestroy(session);
}

static uint32_t commonWidth;

int32_t zarvoVideoEncoder_setFrameSize(void* session, uint32_t width, uint32_t height) {
  if (DEFECT == CRASHES_ON_NULL) ((Session*)session)->width = 0;
  commonWidth = width;
  return goodSetFrameSize(session, width, height);
}

int32_t zarvoVideoEncoder_initialize(void* session) {
  if (DEFECT == BLOCKS) pause();
  if (DEFECT == ENDS_PROCESS) exit(7);
  return goodInitialize(session);
}

int32_t zarvoVideoEncoder_setParameterValueLong(void* session, uint32_t key, int64_t value) {
  const int32_t status = goodSetParameterValueLong(session, key, value);
  return DEFECT == TAKES_ANY_VALUE ? QVS_PLUGIN_OK : status;
}

int32_t zarvoVideoEncoder_getProblem(void* session, char* text, uint32_t size) {
  if (DEFECT != REFUSES_WITHOUT_WORDS) return goodGetProblem(session, text, size);
  if (size > 0) text[0] = 0;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_describe(char* text, uint32_t size, uint32_t* needed) {
  const int32_t status = goodDescribe(text, size, needed);
  char* value = DEFECT == DEFAULT_OUT_OF_RANGE && text != NULL ? strstr(text, "\"default\":50") : NULL;
  if (value != NULL) memcpy(value, "\"default\": 0", 12);
  return status;
}

/* The picture with U in front of V. */
static uint8_t* withChromaSwapped(const uint8_t* plane, uint32_t stride, uint32_t height) {
  const size_t luma = (size_t)stride * height, chroma = (size_t)((stride + 1) / 2) * ((height + 1) / 2);
  uint8_t* copy = malloc(luma + 2 * chroma);
  memcpy(copy, plane, luma);
  memcpy(copy + luma, plane + luma + chroma, chroma);
  memcpy(copy + luma + chroma, plane + luma, chroma);
  return copy;
}

static void spoilBytes(Session* it, void* array, uint32_t* size, uint32_t frameType) {
  if (DEFECT == USES_HANDLE) *(volatile uint8_t*)array = 0;
  uint8_t* bytes = it->lock(it->host, array);
  if (DEFECT == GIVES_START_CODES) memcpy(bytes, "\0\0\0\1", 4);
  if (DEFECT == LACKS_PARAMETER_SETS && frameType == QVS_FRAME_KEY) {
    uint32_t skipped = 0;
    for (int i = 0; i < 2; ++i) skipped += 4 + bytes[skipped + 3];
    *size -= skipped;
    memmove(bytes, bytes + skipped, *size);
  }
  it->unlock(it->host, array, bytes);
}

#if DEFECT != 29
int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride, uint32_t width,
                                    uint32_t height, uint32_t frameType, uint64_t timecode, void** frames,
                                    uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,
                                    uint64_t* timecodeOffsets, uint32_t* count) {
  static void* former;
  Session* it = session;
  if (it == NULL || plane == NULL || it->scratch == NULL || width != it->width) {
    const int32_t refused = goodAddFrame2(session, plane, stride, width, height, frameType, timecode, frames,
                                          sizes, frameTypes, timecodes, timecodeOffsets, count);
    return DEFECT == NEGATIVE_STATUS ? -refused : refused;
  }
  if (DEFECT == SHARES_SIZE) it->width = commonWidth;
  if (DEFECT == FORGETS_KEY) frameType = QVS_FRAME_UNKNOWN;
  if (DEFECT == WRITES_PICTURE) *(volatile uint8_t*)plane = 0;
  if (DEFECT == READS_BEYOND_PICTURE) {
    stride += 16;
  }
  void* picture = plane;
  if (DEFECT == SWAPS_CHROMA) picture = withChromaSwapped(plane, stride, height);
  if (DEFECT == KEEPS_PICTURE && former != NULL) picture = former;
  former = plane;
  if (DEFECT == NEEDS_MEMORY || DEFECT == KEEPS_ARRAY) {
    void* array = it->create(it->host, 16);
    *(volatile uint8_t*)it->lock(it->host, array) = 0;
  }
  const int32_t status = goodAddFrame2(session, picture, stride, width, height, frameType, timecode, frames,
                                       sizes, frameTypes, timecodes, timecodeOffsets, count);
  if (picture != plane && picture != former && DEFECT == SWAPS_CHROMA) free(picture);
  if (status != QVS_PLUGIN_OK) return status;
  spoilBytes(it, frames[0], sizes, frameTypes[0]);
  if (DEFECT == TELLS_21_FRAMES) *count = 21;
  if (DEFECT == WRITES_BEYOND_ARRAY) *(void* volatile*)&frames[QVS_VIDEO_ENCODER_FRAMES_MAX] = NULL;
  if (DEFECT == LOSES_PICTURE && it->sinceKey == 7) *count = 0;
  if (DEFECT == REPEATS_TIMECODE && it->sinceKey == 7) timecodes[0] -= 40;
  if (DEFECT == HANDS_OUT_TWICE) frames[1] = frames[0], sizes[1] = sizes[0], *count = 2;
  return QVS_PLUGIN_OK;
}
#else
int32_t zarvoVideoEncoder_addFrame3(void* session, PluginVideoFrameBuffer* frame,
                                    PluginVideoEncoderOutput* output) {
  void* array = NULL;
  uint32_t size = 0, type = 0, count = 1;
  uint64_t timecode = 0, offset = 0;
  if (frame == NULL || output == NULL || output->frames == NULL) return QVS_PLUGIN_ALLOCATE_BUFFER;
  const int32_t status =
      goodAddFrame2(session, frame->buffer, frame->stride, frame->width, frame->height, frame->frameType,
                    frame->timecode, &array, &size, &type, &timecode, &offset, &count);
  output->frameCount = 1;
  output->frames[0] =
      (VideoFrameEncodedData){.buffer = array, .len = size, .timecode = timecode, .frameType = type};
  return status;
}
#endif

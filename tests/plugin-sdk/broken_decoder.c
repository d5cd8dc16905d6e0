/* The decoder template with one defect, chosen by DEFECT, for the validator to find. */
#include "qvs/video_decoder.h"

#define zarvoVideoDecoder_addFrame goodAddFrame
#define zarvoVideoDecoder_decode2 goodDecode2
#define zarvoVideoDecoder_getDecodedFrame goodGetDecodedFrame
#define zarvoVideoDecoder_close goodClose
#include "../../plugin-sdk/template/template_decoder.c"
#undef zarvoVideoDecoder_addFrame
#undef zarvoVideoDecoder_decode2
#undef zarvoVideoDecoder_getDecodedFrame
#undef zarvoVideoDecoder_close

#include <unistd.h>

enum {
  NEVER_DONE = 1,
  LOSES_PICTURE,
  FORGETS_TIMECODE,
  SWAPS_CHROMA,
  WRITES_BEYOND,
  KEEPS_UNIT,
  TRUSTS_LENGTH,
  LEAKS_PICTURE,
  SHARES_PICTURE
};

uint32_t zarvoVideoDecoder_addFrame(void* session, uint8_t* buffer, uint32_t offset, uint32_t len,
                                    uint64_t timecode, uint32_t frameType) {
  static uint8_t* former;
  if (DEFECT == KEEPS_UNIT && former != NULL) *(volatile uint8_t*)former;
  const uint32_t status = goodAddFrame(session, buffer, offset, len, timecode, frameType);
  former = status == QVS_PLUGIN_OK ? buffer + offset : NULL;
  /* The first length stands at the front, whatever it is. */
  if (DEFECT == TRUSTS_LENGTH && former != NULL)
    *(volatile uint8_t*)(former + 4 + (former[1] << 16 | former[2] << 8));
  return status;
}

uint32_t zarvoVideoDecoder_decode2(void* session, uint32_t* flags, uint8_t flush) {
  static _Atomic int sessionsInside;
  Session* it = session;
  const uint32_t status = goodDecode2(session, flags, flush);
  if (DEFECT == NEVER_DONE && flags != NULL)
    *flags = (*flags & ~QVS_DECODE_INPUT_DONE) | QVS_DECODE_PICTURE_DONE;
  if (it == NULL || flags == NULL || !it->hasPicture) return status;
  if (DEFECT == SHARES_PICTURE) { /* what others do meanwhile is seen in it */
    ++sessionsInside;
    usleep(3000);
    if (sessionsInside > 1) memset(it->picture, 0, (size_t)it->columns * it->rows * 256);
    --sessionsInside;
  }
  if (DEFECT == LOSES_PICTURE && it->timecode == 480) *flags &= ~QVS_DECODE_FRAME_AVAILABLE;
  return status;
}

uint32_t zarvoVideoDecoder_getDecodedFrame(void* session, void* buffer, uint32_t stride, uint32_t* width,
                                           uint32_t* height, uint32_t* frameType, uint64_t* flags,
                                           uint64_t* timecode) {
  Session* it = session;
  if (DEFECT == SWAPS_CHROMA && it != NULL) it->fourcc = FOURCC('I', '4', '2', '0');
  const uint32_t status =
      goodGetDecodedFrame(session, buffer, stride, width, height, frameType, flags, timecode);
  if (status != QVS_PLUGIN_OK) return status;
  if (DEFECT == FORGETS_TIMECODE) *timecode = 0;
  if (DEFECT == WRITES_BEYOND) ((volatile uint8_t*)buffer)[(size_t)stride * it->height * 3 / 2] = 0;
  return status;
}

int32_t zarvoVideoDecoder_close(void* session) {
  if (DEFECT == LEAKS_PICTURE && session != NULL) ((Session*)session)->picture = NULL;
  return goodClose(session);
}

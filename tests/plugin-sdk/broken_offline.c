/* The off-line template, broken by DEFECT in one way. */
#define zarvoVODTranscoder_transcode soundTranscode
#include "../../plugin-sdk/template/template_offline.c"
#undef zarvoVODTranscoder_transcode

QVS_PLUGIN_EXPORT int32_t zarvoVODTranscoder_transcode(void* session, VODTranscoderVideoSettings* settings,
                                                       VideoFrameEncodedData* in, uint32_t inCount,
                                                       VideoFrameEncodedData* out, uint32_t* outCount) {
  if (DEFECT == 1 && outCount != NULL) *outCount += inCount;
  const int32_t status = soundTranscode(session, settings, in, inCount, out, outCount);
  for (uint32_t i = 0; status == 0 && i < *outCount; ++i) {
    if (DEFECT == 2) out[i].vodPacketsIndex = 0;
    if (DEFECT == 3) out[i].len += 1;
    if (DEFECT == 4 && i == 1) out[i].timecodeOffset += 40;
  }
  return status;
}

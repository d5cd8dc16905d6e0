/* An encoder plug-in that codes for real, over libx264: the template with a codec in it. Left out to stay short are B
 * pictures, whose decoding times begin before their first picture, and keys with their description. */
#include "qvs/video_encoder.h"

#include <stdio.h>
#include <stdlib.h>
#include <x264.h>

typedef struct Session {
  void* host;
  QvsByteArrayNew create;
  QvsByteArrayLock lock;
  QvsByteArrayUnlock unlock;
  uint32_t width, height, bitrate, keyFrameFollow;
  double frameRate;
  x264_param_t param; /* of the running encoder */
  x264_t* encoder;    /* null: initialize has not succeeded */
  int ended;
  const char* problem;
} Session;

typedef struct Output {
  void** frames;
  uint32_t *sizes, *frameTypes;
  uint64_t *timecodes, *timecodeOffsets;
  uint32_t* count;
} Output;

static int32_t fail(Session* it, int32_t status, const char* why) {
  it->problem = why;
  return status;
}

static void setRates(Session* it) {
  const uint32_t kilobits = it->bitrate / 1000 > 0 ? it->bitrate / 1000 : 1;
  it->param.rc.i_rc_method = X264_RC_ABR;
  it->param.rc.i_bitrate = it->param.rc.i_vbv_max_bitrate = it->param.rc.i_vbv_buffer_size = (int)kilobits;
}

/* A picture, or null for what is held back. The units come with lengths in front. */
static int32_t encode(Session* it, x264_picture_t* picture, const Output* out) {
  x264_nal_t* units;
  x264_picture_t coded;
  int unitCount = 0;
  const int size = x264_encoder_encode(it->encoder, &units, &unitCount, picture, &coded);
  if (size < 0) return fail(it, QVS_PLUGIN_INIT_ENCODER, "x264_encoder_encode failed");
  if (size == 0) return QVS_PLUGIN_OK;
  void* array = it->create(it->host, (uint32_t)size);
  if (array == NULL) return fail(it, QVS_PLUGIN_ALLOCATE_BUFFER, "the transcoder has no memory for a frame");
  uint8_t* bytes = it->lock(it->host, array);
  memcpy(bytes, units[0].p_payload, (size_t)size); /* all units lie one behind the other */
  it->unlock(it->host, array, bytes);
  out->frames[0] = array;
  out->sizes[0] = (uint32_t)size;
  out->frameTypes[0] = coded.b_keyframe ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
  out->timecodes[0] = (uint64_t)coded.i_dts;
  out->timecodeOffsets[0] = (uint64_t)(coded.i_pts - coded.i_dts);
  *out->count = 1;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_getVersion(uint8_t* buffer, uint32_t bufferLen, uint32_t* major, uint32_t* minor) {
  *major = X264_BUILD, *minor = 0;
  if (buffer != NULL && bufferLen > 0) snprintf((char*)buffer, bufferLen, "libx264 " X264_POINTVER);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_create(void** session) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  Session* it = *session = calloc(1, sizeof *it);
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  it->problem = "";
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_destroy(void* session) {
  Session* it = session;
  if (it != NULL && it->encoder != NULL) x264_encoder_close(it->encoder);
  free(it);
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setAllocator2(void* session, void* host, QvsByteArrayNew create,
                                        QvsByteArrayFree release, QvsByteArrayLock lock,
                                        QvsByteArrayUnlock unlock) {
  Session* it = session;
  (void)release; /* frames are handed out in the call that makes them */
  if (it == NULL || create == NULL || lock == NULL || unlock == NULL) return QVS_PLUGIN_ALLOCATE_BUFFER;
  it->host = host, it->create = create, it->lock = lock, it->unlock = unlock;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setFrameSize(void* session, uint32_t width, uint32_t height) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  it->width = width, it->height = height;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setFrameRate(void* session, double frameRate) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  ((Session*)session)->frameRate = frameRate;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_setBitrate(void* session, uint32_t bitrate) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  ((Session*)session)->bitrate = bitrate;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_updateBitrate(void* session, uint32_t bitrate) {
  Session* it = session;
  if (zarvoVideoEncoder_setBitrate(it, bitrate) != QVS_PLUGIN_OK) return QVS_PLUGIN_CREATE_ENCODER;
  if (it->encoder == NULL) return QVS_PLUGIN_OK;
  setRates(it);
  if (x264_encoder_reconfig(it->encoder, &it->param) == 0) return QVS_PLUGIN_OK;
  return fail(it, QVS_PLUGIN_INIT_ENCODER, "x264_encoder_reconfig failed");
}

int32_t zarvoVideoEncoder_setKeyFrameFollow(void* session, uint32_t follow) {
  if (session == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  ((Session*)session)->keyFrameFollow = follow;
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_initialize(void* session) {
  Session* it = session;
  if (it == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  if (it->encoder != NULL) x264_encoder_close(it->encoder);
  it->encoder = NULL, it->ended = 0;
  if (it->create == NULL || it->frameRate <= 0 || it->width > 8192 || it->height > 8192) {
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "no allocator or frame rate is set, or a size above 8192");
  }
  x264_param_default_preset(&it->param, "veryfast", NULL);
  it->param.i_log_level = X264_LOG_NONE;
  it->param.i_width = (int)(it->width & ~1u); /* 4:2:0 has even sizes only */
  it->param.i_height = (int)(it->height & ~1u);
  it->param.i_csp = X264_CSP_I420;
  it->param.i_bframe = 0;
  it->param.b_annexb = 0;
  it->param.b_repeat_headers = 1; /* parameter sets in front of each key frame */
  it->param.b_vfr_input = 1;      /* times count, in milliseconds */
  it->param.i_timebase_num = 1, it->param.i_timebase_den = 1000;
  it->param.i_fps_num = (uint32_t)(it->frameRate * 1000), it->param.i_fps_den = 1000;
  if (it->keyFrameFollow)
    it->param.i_keyint_max = X264_KEYINT_MAX_INFINITE, it->param.i_scenecut_threshold = 0;
  setRates(it);
  it->encoder = x264_encoder_open(&it->param);
  return it->encoder != NULL ? QVS_PLUGIN_OK : fail(it, QVS_PLUGIN_INIT_ENCODER, "x264_encoder_open failed");
}

int32_t zarvoVideoEncoder_addFrame2(void* session, void* plane, uint32_t stride, uint32_t width,
                                    uint32_t height, uint32_t frameType, uint64_t timecode, void** frames,
                                    uint32_t* sizes, uint32_t* frameTypes, uint64_t* timecodes,
                                    uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  if (it == NULL || count == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  *count = 0;
  if (it->encoder == NULL || it->ended)
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "initialize must come before pictures");
  if (plane == NULL || width != it->width || height != it->height || stride < width) {
    return fail(it, QVS_PLUGIN_INIT_ENCODER, "a picture of another size than was set");
  }
  const uint32_t chromaStride = (stride + 1) / 2;
  x264_picture_t picture;
  x264_picture_init(&picture);
  picture.i_type = frameType == QVS_FRAME_KEY ? X264_TYPE_IDR : X264_TYPE_AUTO;
  picture.i_pts = (int64_t)timecode;
  picture.img.i_csp = X264_CSP_I420;
  picture.img.i_plane = 3;
  picture.img.plane[0] = plane;
  picture.img.plane[2] = picture.img.plane[0] + (size_t)stride * height; /* "YV12": V lies in front of U */
  picture.img.plane[1] = picture.img.plane[2] + (size_t)chromaStride * ((height + 1) / 2);
  picture.img.i_stride[0] = (int)stride;
  picture.img.i_stride[1] = picture.img.i_stride[2] = (int)chromaStride;
  const Output out = {frames, sizes, frameTypes, timecodes, timecodeOffsets, count};
  return encode(it, &picture, &out); /* libx264 copies what it keeps */
}

int32_t zarvoVideoEncoder_drain(void* session, void** frames, uint32_t* sizes, uint32_t* frameTypes,
                                uint64_t* timecodes, uint64_t* timecodeOffsets, uint32_t* count) {
  Session* it = session;
  if (it == NULL || count == NULL) return QVS_PLUGIN_CREATE_ENCODER;
  *count = 0;
  it->ended = 1;
  const Output out = {frames, sizes, frameTypes, timecodes, timecodeOffsets, count};
  while (it->encoder != NULL && *count == 0 && x264_encoder_delayed_frames(it->encoder) > 0) {
    const int32_t status = encode(it, NULL, &out);
    if (status != QVS_PLUGIN_OK) return status;
  }
  return QVS_PLUGIN_OK;
}

int32_t zarvoVideoEncoder_getProblem(void* session, char* text, uint32_t size) {
  if (text != NULL && size > 0)
    snprintf(text, size, "%s", session != NULL ? ((Session*)session)->problem : "no session");
  return QVS_PLUGIN_OK;
}

/* The template with one defect, chosen by DEFECT, for the validator to find. */
#define zarvoVideoScaler_isAvailable goodIsAvailable
#define zarvoVideoScaler_create goodCreate
#define zarvoVideoScaler_destroy goodDestroy
#define zarvoVideoScaler_scaleByHalf goodScaleByHalf
#define zarvoVideoScaler_overlayFrame goodOverlayFrame
#include "../../plugin-sdk/template/template_scaler.c"
#undef zarvoVideoScaler_isAvailable
#undef zarvoVideoScaler_create
#undef zarvoVideoScaler_destroy
#undef zarvoVideoScaler_scaleByHalf
#undef zarvoVideoScaler_overlayFrame

#define NOT_AVAILABLE 1
#define LACKS_IS_AVAILABLE 2
#define LACKS_OVERLAY 3 /* allowed */
#define LACKS_SESSIONS 4
#define SHARES_SESSION 5
#define SWAPS_CHROMA 6
#define SHIFTS_BY_A_SAMPLE 7
#define WRITES_SLACK 8
#define WRITES_BEYOND 9
#define WRITES_SOURCE 10
#define REFUSES_NOTHING 11
#define ROUNDS_DOWN 12
#define DRAWS_UNCLIPPED 13
#define READS_UNSIGNED_PLACE 14
#define TAKES_ANY_MODE 15
#define SHARES_SCRATCH 16
#define ENDS_PROCESS 17

#if DEFECT != LACKS_IS_AVAILABLE
VIDEO_SCALER_EXPORT uint32_t zarvoVideoScaler_isAvailable(void) {
  return DEFECT == NOT_AVAILABLE ? 1 : goodIsAvailable();
}
#endif

#if DEFECT != LACKS_SESSIONS
VIDEO_SCALER_EXPORT uint32_t zarvoVideoScaler_create(void** session) {
  static Session only;
  if (DEFECT != SHARES_SESSION || session == NULL) return goodCreate(session);
  *session = &only;
  return DONE;
}

VIDEO_SCALER_EXPORT uint32_t zarvoVideoScaler_destroy(void* session) {
  return DEFECT == SHARES_SESSION ? DONE : goodDestroy(session);
}
#endif

static uint8_t* lastByte(const VideoFrameIntrinsicScalerFrame* frame) {
  Planes planes;
  takeApart(frame, &planes);
  uint8_t* lower = planes.u > planes.v ? planes.u : planes.v;
  return lower + planes.chromaStride * planes.chromaHeight - 1;
}

/* Halves by way of memory that all sessions share. */
static uint32_t halveThroughSharedScratch(void* session, const VideoFrameIntrinsicScalerFrame* source,
                                          VideoFrameIntrinsicScalerFrame* target) {
  static uint8_t scratch[1 << 20];
  VideoFrameIntrinsicScalerFrame copy = *source;
  copy.plane = scratch;
  const size_t bytes = (size_t)(lastByte(source) + 1 - (uint8_t*)source->plane);
  for (size_t i = 0; i < bytes; ++i) *(volatile uint8_t*)(scratch + i) = ((const uint8_t*)source->plane)[i];
  return goodScaleByHalf(session, &copy, target);
}

static void swapChroma(const VideoFrameIntrinsicScalerFrame* frame) {
  Planes planes;
  takeApart(frame, &planes);
  for (uint32_t y = 0; y < planes.chromaHeight; ++y) {
    for (uint32_t x = 0; x < planes.chromaWidth; ++x) {
      const size_t at = y * planes.chromaStride + x;
      const uint8_t u = planes.u[at];
      planes.u[at] = planes.v[at];
      planes.v[at] = u;
    }
  }
}

VIDEO_SCALER_EXPORT uint32_t zarvoVideoScaler_scaleByHalf(void* session,
                                                          const VideoFrameIntrinsicScalerFrame* source,
                                                          VideoFrameIntrinsicScalerFrame* target) {
  VideoFrameIntrinsicScalerFrame from = *source, to = *target;
  if (DEFECT == ENDS_PROCESS) exit(7);
  if (DEFECT == REFUSES_NOTHING) return goodScaleByHalf(session, source, target) == 7;
  if (DEFECT == SHARES_SCRATCH && goodScaleByHalf(session, source, target) == DONE) {
    return halveThroughSharedScratch(session, source, target);
  }
  const uint32_t result = goodScaleByHalf(session, source, target);
  if (result != DONE) return result;
  if (DEFECT == SWAPS_CHROMA) swapChroma(&to);
  if (DEFECT == SHIFTS_BY_A_SAMPLE) {
    uint8_t* row = to.plane;
    for (uint32_t y = 0; y < to.height; ++y, row += to.stride) {
      for (uint32_t x = 0; x + 1 < to.width; ++x) row[x] = row[x + 1];
    }
  }
  if (DEFECT == WRITES_SLACK && to.stride > to.width) ((uint8_t*)to.plane)[to.width] = 1;
  if (DEFECT == WRITES_BEYOND) lastByte(&to)[1] = 1;
  if (DEFECT == WRITES_SOURCE) ((uint8_t*)from.plane)[0] ^= 1;
  return result;
}

#if DEFECT != LACKS_OVERLAY
VIDEO_SCALER_EXPORT uint32_t zarvoVideoScaler_overlayFrame(void* session, uint32_t mode, uint32_t x,
                                                           uint32_t y,
                                                           const VideoFrameIntrinsicScalerFrame* overlay,
                                                           VideoFrameIntrinsicScalerFrame* target) {
  if (DEFECT == TAKES_ANY_MODE) mode = VIDEO_SCALER_OVERLAY_BLEND;
  if (DEFECT == READS_UNSIGNED_PLACE && (x > target->width || y > target->height)) return DONE;
  const uint32_t result = goodOverlayFrame(session, mode, x, y, overlay, target);
  if (result != DONE) return result;
  if (DEFECT == ROUNDS_DOWN) {
    uint8_t* first = target->plane;
    if (*first > 0 && x == 0xFFFFFFEAu) --*first;
  }
  if (DEFECT == DRAWS_UNCLIPPED) {
    uint8_t* row = (uint8_t*)target->plane + (int64_t)(int32_t)y * target->stride + (int32_t)x;
    for (uint32_t i = 0; i < overlay->width; ++i) *(volatile uint8_t*)(row + i) = 0;
  }
  return result;
}
#endif

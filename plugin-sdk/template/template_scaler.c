/* A complete scaler plug-in in plain C, to copy and fill in. It halves by averaging four samples and blends
 * in the simplest loops that follow the contract of "qvs/video_scaler.h"; what a real one adds is a better
 * filter and speed. Entry points that you can't offer are left out of the library: the transcoder then does
 * without them. */
#include "qvs/video_scaler.h"

#include <stdlib.h>

enum { DONE = 0, REFUSED = 1, OUT_OF_MEMORY = 2 };

/* Whatever must outlive a call: scratch rows, filter tables, a device's handle. */
typedef struct Session {
  uint32_t calls;
} Session;

/* The planes of a 4:2:0 picture. */
typedef struct Planes {
  uint8_t *y, *u, *v;
  size_t chromaStride, chromaStep; /* bytes from row to row and from sample to sample */
  uint32_t chromaWidth, chromaHeight;
} Planes;

/* Takes a picture apart; 0 for one that this plug-in doesn't know or that can't be right. */
static int takeApart(const VideoFrameIntrinsicScalerFrame* frame, Planes* planes) {
  const int vFirst = frame->fourcc == VIDEO_SCALER_FOURCC('Y', 'V', '1', '2');
  const int uFirst = frame->fourcc == VIDEO_SCALER_FOURCC('I', '4', '2', '0') ||
                     frame->fourcc == VIDEO_SCALER_FOURCC('I', 'Y', 'U', 'V');
  const int pairs = frame->fourcc == VIDEO_SCALER_FOURCC('N', 'V', '1', '2');
  if (!vFirst && !uFirst && !pairs) return 0;
  if (frame->plane == NULL || frame->width == 0 || frame->height == 0 || frame->stride < frame->width)
    return 0;

  planes->chromaStride = pairs ? frame->stride : frame->stride / 2;
  planes->chromaStep = pairs ? 2 : 1;
  planes->chromaWidth = frame->width / 2;
  planes->chromaHeight = frame->height / 2;
  planes->y = frame->plane;
  uint8_t* first = planes->y + (size_t)frame->stride * frame->height;
  uint8_t* second = first + (pairs ? 1 : planes->chromaStride * planes->chromaHeight);
  planes->u = vFirst ? second : first;
  planes->v = vFirst ? first : second;
  return 1;
}

uint32_t zarvoVideoScaler_isAvailable(void) {
  return VIDEO_SCALER_AVAILABLE_MASK;
}

uint32_t zarvoVideoScaler_create(void** session) {
  if (session == NULL) return REFUSED;
  *session = calloc(1, sizeof(Session));
  return *session != NULL ? DONE : OUT_OF_MEMORY;
}

uint32_t zarvoVideoScaler_destroy(void* session) {
  free(session);
  return DONE;
}

static void halvePlane(const uint8_t* source, size_t sourceStride, uint8_t* target, size_t targetStride,
                       uint32_t width, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y, source += 2 * sourceStride, target += targetStride) {
    const uint8_t* next = source + sourceStride;
    for (uint32_t x = 0; x < width; ++x) {
      target[x] = (uint8_t)((source[2 * x] + source[2 * x + 1] + next[2 * x] + next[2 * x + 1] + 2) / 4);
    }
  }
}

static int isHalf(uint32_t half, uint32_t whole) {
  return half >= 2 && half % 2 == 0 && whole / 2 == half;
}

uint32_t zarvoVideoScaler_scaleByHalf(void* session, const VideoFrameIntrinsicScalerFrame* source,
                                      VideoFrameIntrinsicScalerFrame* target) {
  Planes from, to;
  if (session == NULL || source == NULL || target == NULL || source->fourcc != target->fourcc) return REFUSED;
  if (!isHalf(target->width, source->width) || !isHalf(target->height, source->height)) return REFUSED;
  if (!takeApart(source, &from) || !takeApart(target, &to) || from.chromaStep != 1) return REFUSED;

  ((Session*)session)->calls++;
  halvePlane(from.y, source->stride, to.y, target->stride, target->width, target->height);
  halvePlane(from.u, from.chromaStride, to.u, to.chromaStride, to.chromaWidth, to.chromaHeight);
  halvePlane(from.v, from.chromaStride, to.v, to.chromaStride, to.chromaWidth, to.chromaHeight);
  return DONE;
}

/* The pixel of the overlay that lies on (x, y) of the target, or a clear one. */
static const uint8_t* pixelOver(const VideoFrameIntrinsicScalerFrame* overlay, int64_t left, int64_t top,
                                int64_t x, int64_t y) {
  static const uint8_t clear[4] = {0, 0, 0, 0};
  if (x < left || y < top || x - left >= overlay->width || y - top >= overlay->height) return clear;
  return (const uint8_t*)overlay->plane + (y - top) * (size_t)overlay->stride + (x - left) * 4;
}

static void blendLuma(const VideoFrameIntrinsicScalerFrame* overlay, int64_t left, int64_t top,
                      const VideoFrameIntrinsicScalerFrame* target, uint8_t* luma) {
  for (uint32_t y = 0; y < target->height; ++y, luma += target->stride) {
    for (uint32_t x = 0; x < target->width; ++x) {
      const uint8_t* over = pixelOver(overlay, left, top, x, y); /* V, U, Y, A */
      luma[x] = (uint8_t)((over[3] * over[2] + (255 - over[3]) * luma[x] + 127) / 255);
    }
  }
}

static void blendChroma(const VideoFrameIntrinsicScalerFrame* overlay, int64_t left, int64_t top,
                        const Planes* to, uint8_t* plane, int component) {
  for (uint32_t y = 0; y < to->chromaHeight; ++y) {
    for (uint32_t x = 0; x < to->chromaWidth; ++x) {
      uint32_t sum = 0, alphas = 0;
      for (uint32_t i = 0; i < 4; ++i) {
        const uint8_t* over = pixelOver(overlay, left, top, 2 * (int64_t)x + i % 2, 2 * (int64_t)y + i / 2);
        sum += (uint32_t)over[3] * over[component];
        alphas += over[3];
      }
      uint8_t* sample = plane + y * to->chromaStride + x * to->chromaStep;
      *sample = (uint8_t)((sum + (1020 - alphas) * *sample + 510) / 1020);
    }
  }
}

uint32_t zarvoVideoScaler_overlayFrame(void* session, uint32_t mode, uint32_t x, uint32_t y,
                                       const VideoFrameIntrinsicScalerFrame* overlay,
                                       VideoFrameIntrinsicScalerFrame* target) {
  Planes to;
  if (session == NULL || overlay == NULL || target == NULL || mode != VIDEO_SCALER_OVERLAY_BLEND)
    return REFUSED;
  if (x % 2 != 0 || y % 2 != 0 || overlay->fourcc != VIDEO_SCALER_FOURCC('V', 'U', 'Y', 'A')) return REFUSED;
  if (overlay->plane == NULL || overlay->stride < 4 * (uint64_t)overlay->width) return REFUSED;
  if (!takeApart(target, &to)) return REFUSED;

  ((Session*)session)->calls++;
  const int32_t left = (int32_t)x, top = (int32_t)y; /* may be negative */
  blendLuma(overlay, left, top, target, to.y);
  blendChroma(overlay, left, top, &to, to.u, 1);
  blendChroma(overlay, left, top, &to, to.v, 0);
  return DONE;
}

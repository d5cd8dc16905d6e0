// The scaler plug-in's exported functions; the contract is in "qvs/video_scaler.h".
#include <new>

#include "qvs/video_scaler.h"
#include "ScalerSession.h"

using qvs::intrinsic::kRefused;
using qvs::intrinsic::ScalerSession;

extern "C" {

uint32_t zarvoVideoScaler_isAvailable(void) {
  return VIDEO_SCALER_AVAILABLE_MASK;
}

uint32_t zarvoVideoScaler_create(void** session) {
  if (session == nullptr) return kRefused;
  *session = new (std::nothrow) ScalerSession;
  return *session != nullptr ? qvs::intrinsic::kDone : qvs::intrinsic::kOutOfMemory;
}

uint32_t zarvoVideoScaler_destroy(void* session) {
  delete static_cast<ScalerSession*>(session);
  return qvs::intrinsic::kDone;
}

uint32_t zarvoVideoScaler_scaleByHalf(void* session, const VideoFrameIntrinsicScalerFrame* source,
                                      VideoFrameIntrinsicScalerFrame* target) {
  if (session == nullptr || source == nullptr || target == nullptr) return kRefused;
  return static_cast<ScalerSession*>(session)->scaleByHalf(*source, *target);
}

uint32_t zarvoVideoScaler_overlayFrame(void* session, uint32_t mode, uint32_t x, uint32_t y,
                                       const VideoFrameIntrinsicScalerFrame* overlay,
                                       VideoFrameIntrinsicScalerFrame* target) {
  if (session == nullptr || overlay == nullptr || target == nullptr) return kRefused;
  if (mode != VIDEO_SCALER_OVERLAY_BLEND) return kRefused;
  return static_cast<ScalerSession*>(session)->overlay(static_cast<int32_t>(x), static_cast<int32_t>(y),
                                                       *overlay, *target);
}
}

// Calls of the scaler plug-in for one frame.
#include "frames/IntrinsicScalerSession.h"

#include <cstddef>

#include "frames/geometry/FourCC.h"
#include "platform/Status.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {
namespace {

VideoFrameIntrinsicScalerFrame recordOf(const frame_tt& picture) {
  return {picture.four_cc, picture.plane[0], static_cast<uint32_t>(picture.stride[0]), picture.width,
          picture.height};
}

}  // namespace

IntrinsicScalerSession::~IntrinsicScalerSession() {
  if (session != nullptr) VideoFrameIntrinsicScalerSingleton::getInstance()->destroy(session);
}

bool IntrinsicScalerSession::open() {
  auto* scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
  if (!scaler->isAvailable()) return false;
  if (session == nullptr) scaler->create(&session);
  return session != nullptr;
}

bool IntrinsicScalerSession::canTell(const frame_tt& picture) {
  const bool inPairs = picture.four_cc == kFourCCNV12;
  const ptrdiff_t stride = picture.stride[0];
  const ptrdiff_t chroma = inPairs ? stride : stride / 2;
  const uint8_t* second = picture.plane[0] + stride * picture.height;
  if (stride <= 0 || picture.width % 2 != 0 || picture.height % 2 != 0) return false;
  if (picture.plane[1] != second || picture.stride[1] != chroma) return false;
  return inPairs ||
         (picture.plane[2] == second + chroma * (picture.height / 2) && picture.stride[2] == chroma);
}

bool IntrinsicScalerSession::scaleByHalf(const frame_tt& source, const frame_tt& half) {
  const VideoFrameIntrinsicScalerFrame from = recordOf(source);
  VideoFrameIntrinsicScalerFrame to = recordOf(half);
  return VideoFrameIntrinsicScalerSingleton::getInstance()->scaleByHalf(session, &from, &to) == kSuccess;
}

bool IntrinsicScalerSession::drawOverlay(const VideoFrameIntrinsicScalerFrame& image, int32_t x, int32_t y,
                                         const frame_tt& picture) {
  VideoFrameIntrinsicScalerFrame target = recordOf(picture);
  return VideoFrameIntrinsicScalerSingleton::getInstance()->overlayFrame(
             session, VIDEO_SCALER_OVERLAY_BLEND, static_cast<uint32_t>(x), static_cast<uint32_t>(y), &image,
             &target) == kSuccess;
}

}  // namespace qvs

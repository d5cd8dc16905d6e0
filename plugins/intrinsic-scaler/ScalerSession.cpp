// What a plug-in session checks and does for each entry point.
#include "ScalerSession.h"

#include "OverlayBlender.h"
#include "PictureLayout.h"

namespace qvs::intrinsic {
namespace {

bool isHalf(const VideoFrameIntrinsicScalerFrame& target, const VideoFrameIntrinsicScalerFrame& source) {
  const auto halved = [](uint32_t half, uint32_t whole) {
    return half >= 2 && half % 2 == 0 && half == whole / 2;
  };
  return target.fourcc == source.fourcc && halved(target.width, source.width) &&
         halved(target.height, source.height);
}

PlaneHalver::Plane chromaPlane(const PictureLayout& layout, uint8_t* samples) {
  return {samples, layout.chromaStride, layout.chromaWidth, layout.chromaHeight};
}

}  // namespace

uint32_t ScalerSession::scaleByHalf(const VideoFrameIntrinsicScalerFrame& source,
                                    const VideoFrameIntrinsicScalerFrame& target) {
  PictureLayout from;
  PictureLayout to;
  if (!isHalf(target, source) || !layOut(source, &from) || !layOut(target, &to)) return kRefused;
  if (from.chromaStep != 1) return kRefused;
  if (!halver.reserve(source.width)) return kOutOfMemory;

  halver.halve({from.y, source.stride, source.width, source.height},
               {to.y, target.stride, target.width, target.height});
  halver.halve(chromaPlane(from, from.u), chromaPlane(to, to.u));
  halver.halve(chromaPlane(from, from.v), chromaPlane(to, to.v));
  return kDone;
}

uint32_t ScalerSession::overlay(int32_t x, int32_t y, const VideoFrameIntrinsicScalerFrame& overlay,
                                const VideoFrameIntrinsicScalerFrame& target) {
  PictureLayout to;
  if (x % 2 != 0 || y % 2 != 0 || !isOverlay(overlay) || !layOut(target, &to)) return kRefused;
  blendOverlay(kernels, x, y, overlay, target, to);
  return kDone;
}

}  // namespace qvs::intrinsic

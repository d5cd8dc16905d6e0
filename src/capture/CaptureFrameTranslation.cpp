// From the picture that a device has to the one that is wanted: rate, crop, size, turn.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "capture/CaptureUtils.h"

namespace qvs {

namespace {

using Target = CaptureDeviceCaptureTargetVideoData;
using Translation = CaptureUtilsFrameTranslationInfo;

constexpr uint32_t kMinimumCrop = 64;
constexpr uint32_t kLargestDerivedDivisor = 4;
constexpr uint32_t kMethodCrop = 0;
constexpr uint32_t kMethodStretch = 1;

uint32_t rounded(double value) {
  // What a host asks for may be beyond any number of pixels.
  return static_cast<uint32_t>(std::clamp(std::floor(0.5 + value), 0.0, 4294967295.0));
}

/// Even, unless it is just what was asked for.
uint32_t evenUnless(uint32_t value, uint32_t wanted) {
  return value == wanted ? value : value & ~1u;
}

bool isTurnedBy(double rotation, double quarters) {
  return std::fabs(rotation - quarters * std::numbers::pi / 2) < 0.1;
}

void setSize(Translation& info, uint32_t width, uint32_t height) {
  info.widthInt = info.widthDst = width;
  info.heightInt = info.heightDst = height;
}

bool takeCrop(Translation& info, const Target& target, uint32_t width, uint32_t height) {
  const auto& [x, y, cropWidth, cropHeight] = target.crop;
  if (cropWidth < kMinimumCrop || cropHeight < kMinimumCrop || x >= width || y >= height) return false;
  if (uint64_t{x} + cropWidth > width || uint64_t{y} + cropHeight > height) return false;
  info.xCrop = x;
  info.yCrop = y;
  info.widthCrop = cropWidth;
  info.heightCrop = cropHeight;
  info.cropImage = 1;
  setSize(info, cropWidth, cropHeight);
  return true;
}

void stretchSize(Translation& info, uint32_t w, uint32_t h, double aspectWidth, double aspectHeight) {
  const uint32_t wn = rounded(h * aspectWidth / aspectHeight);
  const uint32_t hn = rounded(w * aspectHeight / aspectWidth);
  if (wn < w) {
    setSize(info, w, hn & ~3u);
  } else {
    setSize(info, wn & ~3u, h);
  }
}

void scaledSize(Translation& info, const Target& target, uint32_t w, uint32_t h) {
  if ((target.sizeFlags & kCaptureSizeExact) != 0 && target.width != 0 && target.height != 0) {
    return setSize(info, target.width, target.height);
  }
  const double sx = static_cast<double>(target.width) / w;
  const double sy = static_cast<double>(target.height) / h;
  if (sy >= sx) {
    setSize(info, target.width, evenUnless(rounded(h * sx), target.height));
  } else {
    setSize(info, evenUnless(rounded(w * sy), target.width), target.height);
  }
}

void applyTargetSize(Translation& info, const Target& target) {
  if (info.widthDst == 0 || info.heightDst == 0) return;
  takeCrop(info, target, info.widthDst, info.heightDst);
  const uint32_t w = info.widthDst, h = info.heightDst;
  const bool sized = target.width != 0 && target.height != 0;
  const bool larger = sized && (w > target.width || h > target.height);
  const bool smaller = sized && (w < target.width || h < target.height);
  info.scaleImage = ((target.sizeFlags & kCaptureSizeDown) != 0 && larger) ||
                    ((target.sizeFlags & kCaptureSizeUp) != 0 && smaller);

  double aspectWidth = target.frameCropAspectRatioWidth, aspectHeight = target.frameCropAspectRatioHeight;
  if (isTurnedBy(target.frameRotation, 1) || isTurnedBy(target.frameRotation, 3)) {
    std::swap(aspectWidth, aspectHeight);
  }
  if (target.frameAspectRatioMethod == kMethodStretch && aspectWidth != 0 && aspectHeight != 0 &&
      std::fabs(static_cast<double>(w) / h - aspectWidth / aspectHeight) > 0.05) {
    info.scaleImage = info.scaleImageStretch = 1;
  }
  if (info.scaleImageStretch != 0) {
    stretchSize(info, w, h, aspectWidth, aspectHeight);
  } else if (info.scaleImage != 0) {
    scaledSize(info, target, w, h);
  }
}

void turn(Translation& info, double rotation) {
  if (rotation == 0) return;
  info.rotationRadians = rotation;
  for (uint32_t quarters = 1; quarters <= 3; ++quarters) {
    if (!isTurnedBy(rotation, quarters)) continue;
    info.rotation = quarters;
    if (quarters != 2) std::swap(info.widthDst, info.heightDst);
  }
}

void cutToAspect(Translation& info, const Target& target) {
  const uint64_t aspectWidth = target.frameCropAspectRatioWidth,
                 aspectHeight = target.frameCropAspectRatioHeight;
  if (target.frameAspectRatioMethod != kMethodCrop || aspectWidth == 0 || aspectHeight == 0) return;
  const uint64_t wr = aspectWidth * info.heightDst / aspectHeight;
  const uint64_t hr = aspectHeight * info.widthDst / aspectWidth;
  if (wr > info.widthDst) {
    const auto cut = static_cast<uint32_t>(hr) & ~3u;
    info.yOffset = (info.heightDst - cut) >> 1;
    info.heightDst = cut;
    info.widthDst &= ~3u;
  } else {
    const auto cut = static_cast<uint32_t>(wr) & ~3u;
    info.xOffset = (info.widthDst - cut) >> 1;
    info.widthDst = cut;
    info.heightDst &= ~3u;
  }
}

}  // namespace

void CaptureUtils::getFrameRateInfo(CaptureUtilsFrameRateInfo* out, const Target& target,
                                    uint32_t frameRateEnum, uint32_t frameRateDen) {
  out->frameRateDivisor = 1;
  if ((target.frameRateFlags & kCaptureRateByDivisor) != 0 && target.frameRateDivisor != 0) {
    out->frameRateDivisor = target.frameRateDivisor;
    return;
  }
  if ((target.frameRateFlags & kCaptureRateByTarget) == 0 || frameRateEnum == 0 || frameRateDen == 0 ||
      target.frameRateTargetEnum == 0 || target.frameRateTargetDen == 0) {
    return;
  }
  const double wanted = static_cast<double>(target.frameRateTargetEnum) / target.frameRateTargetDen;
  const double source = static_cast<double>(frameRateEnum) / frameRateDen;
  for (uint32_t divisor = 2; source > wanted && divisor <= kLargestDerivedDivisor; ++divisor) {
    if (wanted < frameRateEnum / (static_cast<double>(divisor) * frameRateDen)) continue;
    out->frameRateDivisor = divisor;
    return;
  }
}

void CaptureUtils::getFrameTranslationInfo(CaptureUtilsFrameTranslationInfo* info, const Target& target,
                                           bool applyTarget, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t emptyFrameWidth, uint32_t emptyFrameHeight) {
  *info = {};
  info->widthCrop = srcWidth;
  info->heightCrop = srcHeight;
  setSize(*info, srcWidth, srcHeight);
  if (applyTarget) {
    applyTargetSize(*info, target);
  } else if (emptyFrameWidth != 0 && emptyFrameHeight != 0 &&
             (emptyFrameWidth != srcWidth || emptyFrameHeight != srcHeight)) {
    info->scaleImage = 1;
    setSize(*info, emptyFrameWidth, emptyFrameHeight);
  }
  turn(*info, target.frameRotation);
  cutToAspect(*info, target);
}

}  // namespace qvs

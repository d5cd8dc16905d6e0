// Source and target rectangles from fit mode, crop and padding.
#include "frames/geometry/FitPlacement.h"

#include <algorithm>

#include "frames/geometry/ColorspaceInfo.h"
#include "frames/geometry/FourCC.h"

namespace qvs {
namespace {

PixelRect wholeOf(PixelSize size) {
  return {0, 0, size.width, size.height};
}

/// An inset of left, right, top, bottom goes before a rectangle of x, y, width, height.
PixelRect restrict(PixelSize size, const uint32_t* inset, const uint32_t* rect) {
  if (inset != nullptr) {
    return {inset[0], inset[2], int64_t{size.width} - inset[0] - inset[1],
            int64_t{size.height} - inset[2] - inset[3]};
  }
  if (rect != nullptr) return {rect[0], rect[1], rect[2], rect[3]};
  return wholeOf(size);
}

constexpr uint32_t kV210Step = 48;  // a block of 128 bytes

int64_t roundUp(int64_t value, uint32_t step) {
  return (value + step - 1) / step * step;
}

int64_t evenBelow(int64_t value) {
  return value & ~int64_t{1};
}

/// Shows the source's rectangle whole, between bars.
void letterbox(Placement& placement, PixelSize display, PixelSize target) {
  const int64_t fitWidth = evenBelow(int64_t{target.height} * display.width / display.height);
  const int64_t fitHeight = evenBelow(int64_t{target.width} * display.height / display.width);
  placement.hasSource = placement.hasTarget = true;
  placement.barsTopAndBottom = fitWidth > target.width;
  placement.target = placement.barsTopAndBottom
                         ? PixelRect{0, (target.height - fitHeight) / 2, target.width, fitHeight}
                         : PixelRect{(target.width - fitWidth) / 2, 0, fitWidth, target.height};
}

/// Cuts the source's rectangle to the target's aspect.
void cropToFill(Placement& placement, PixelSize display, PixelSize target) {
  const int64_t wantedWidth = int64_t{target.width} * display.height / target.height;
  const int64_t wantedHeight = int64_t{target.height} * display.width / target.width;
  PixelRect& source = placement.source;
  placement.hasSource = true;
  placement.hasTarget = false;
  placement.target = wholeOf(target);
  if (wantedWidth > display.width) {
    const int64_t height = wantedHeight * source.height / display.height;
    source.y += (source.height - height) / 2;
    source.height = height;
  } else {
    const int64_t width = wantedWidth * source.width / display.width;
    source.x += (source.width - width) / 2;
    source.width = width;
  }
}

}  // namespace

Placement placeFrame(PixelSize source, PixelSize display, PixelSize target, const PlacementRequest& request) {
  Placement placement;
  placement.source = restrict(source, request.crop, request.srcRect);
  placement.target = restrict(target, request.padding, request.dstRect);
  if (display.width == 0 || display.height == 0) display = source;
  const bool noArea = display.width == 0 || display.height == 0 || target.width == 0 || target.height == 0;
  if (noArea) return {};
  if (request.fitMode == kFitLetterbox) {
    letterbox(placement, display, target);
  } else if (request.fitMode == kFitCropToFill) {
    cropToFill(placement, display, target);
  } else {
    placement.hasTarget = request.padding != nullptr || request.dstRect != nullptr;
    placement.hasSource = placement.hasTarget || request.crop != nullptr || request.srcRect != nullptr;
    placement.clearsTarget = placement.hasTarget;
  }
  return placement;
}

PixelSize placementStep(uint32_t code) {
  if (code == kFourCCv210) return {kV210Step, 1};
  const int32_t chroma = get_chroma_format(code);
  const uint32_t rows = chroma == 1 || chroma == 5 ? 2 : chroma == 7 ? 4 : 1;
  return {std::max(get_pixels_per_macropixel(code), 1u), rows};
}

PixelRect clipRect(const PixelRect& rect, PixelSize picture, PixelSize step) {
  int64_t left = roundUp(std::max<int64_t>(rect.x, 0), step.width);
  int64_t top = roundUp(std::max<int64_t>(rect.y, 0), step.height);
  int64_t right = std::min<int64_t>(rect.x + rect.width, picture.width);
  int64_t bottom = std::min<int64_t>(rect.y + rect.height, picture.height);
  if (right != picture.width) right -= right % step.width;
  if (bottom != picture.height) bottom -= bottom % step.height;
  return {left, top, std::max<int64_t>(right - left, 0), std::max<int64_t>(bottom - top, 0)};
}

}  // namespace qvs

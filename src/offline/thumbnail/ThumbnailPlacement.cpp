// The size of a still picture and the rectangles that fill it.
#include "offline/thumbnail/ThumbnailPlacement.h"

#include <algorithm>
#include <iterator>

#include "offline/thumbnail/ThumbnailerData.h"

namespace qvs {
namespace {

constexpr int64_t kSizeMax = 16384;  ///< what the converter makes

bool isSize(int64_t width, int64_t height) {
  return width >= 1 && width <= kSizeMax && height >= 1 && height <= kSizeMax;
}

/// A side that follows from the other one: even, and never nothing.
int64_t following(int64_t given, int64_t times, int64_t by) {
  const int64_t side = given * times / by;
  return std::max<int64_t>(side + (side & 1), 2);
}

/// `inner` in the middle of `outer`, which it must not exceed.
PixelRect centred(const PixelRect& outer, int64_t width, int64_t height) {
  return {outer.x + (outer.width - width) / 2, outer.y + (outer.height - height) / 2, width, height};
}

/// The largest part of `outer` with the aspect of `width` to `height`.
PixelRect fitted(const PixelRect& outer, int64_t width, int64_t height) {
  const int64_t wide = outer.height * width / height;
  const int64_t high = outer.width * height / width;
  if (wide > outer.width) return centred(outer, outer.width, std::max<int64_t>(high, 1));
  return centred(outer, std::max<int64_t>(wide, 1), outer.height);
}

struct Crop {
  PixelRect rect;
  bool isSet;
};

std::optional<Crop> cropOf(PixelSize frame, const ThumbnailerRequestData& request) {
  const auto& sides = request.crop;
  const PixelRect whole{0, 0, frame.width, frame.height};
  if (std::none_of(std::begin(sides), std::end(sides), [](int32_t side) { return side > 0; })) {
    return Crop{whole, false};
  }
  if (std::any_of(std::begin(sides), std::end(sides), [](int32_t side) { return side < 0; }))
    return std::nullopt;
  const PixelRect rect{sides[0], sides[2], whole.width - sides[0] - sides[1],
                       whole.height - sides[2] - sides[3]};
  if (rect.isEmpty()) return std::nullopt;
  return Crop{rect, true};
}

}  // namespace

std::optional<ThumbnailPlacement> placeThumbnail(PixelSize frame, const ThumbnailerRequestData& request) {
  const auto crop = cropOf(frame, request);
  if (!crop) return std::nullopt;
  int64_t width = request.width;
  int64_t height = request.height;
  if (request.fitMode == kThumbnailFitWidth) height = following(width, crop->rect.height, crop->rect.width);
  if (request.fitMode == kThumbnailFitHeight) width = following(height, crop->rect.width, crop->rect.height);
  if (request.fitMode == kThumbnailFitOriginal) {
    width = frame.width;
    height = frame.height;
  }
  if (!isSize(width, height)) return std::nullopt;

  ThumbnailPlacement placement;
  placement.size = {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
  placement.source = crop->rect;
  placement.hasSource = crop->isSet;
  if (request.fitMode == kThumbnailFitInside) {
    placement.hasSource = placement.hasTarget = true;
    placement.target = fitted({0, 0, width, height}, crop->rect.width, crop->rect.height);
  } else if (request.fitMode == kThumbnailFitFill) {
    placement.hasSource = true;
    placement.source = fitted(crop->rect, width, height);
  }
  return placement;
}

}  // namespace qvs

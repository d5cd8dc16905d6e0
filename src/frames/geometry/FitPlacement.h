#pragma once

#include <cstdint>

namespace qvs {

/// Pixels; x and y may be negative where a caller's numbers reach outside of a picture.
struct PixelRect {
  int64_t x = 0;
  int64_t y = 0;
  int64_t width = 0;
  int64_t height = 0;

  bool isEmpty() const { return width <= 0 || height <= 0; }
  bool operator==(const PixelRect&) const = default;
};

struct PixelSize {
  uint32_t width = 0;
  uint32_t height = 0;

  bool operator==(const PixelSize&) const = default;
};

enum FitMode : uint32_t { kFitLetterbox = 1, kFitStretch = 3, kFitCropToFill = 4 };

/// What a target asks for. Null: not asked for.
struct PlacementRequest {
  uint32_t fitMode = kFitStretch;     ///< other values than FitMode's stretch
  const uint32_t* crop = nullptr;     ///< source trim: left, right, top, bottom
  const uint32_t* srcRect = nullptr;  ///< x, y, width, height; `crop` goes before it
  const uint32_t* padding = nullptr;  ///< target inset: left, right, top, bottom
  const uint32_t* dstRect = nullptr;  ///< x, y, width, height; `padding` goes before it
};

/// Where a picture goes in its target.
struct Placement {
  PixelRect source;  ///< in force when `hasSource`
  PixelRect target;  ///< in force when `hasTarget`
  bool hasSource = false;
  bool hasTarget = false;
  bool barsTopAndBottom = false;  ///< letterbox: else the bars are left and right
  bool clearsTarget = false;      ///< pixels outside of `target` have to be painted
};

/// Fits a source into a target. `display` is the size by which the source wants to be shown; a zero in it
/// takes the source's size. Rectangles come out as computed: the caller clips them to the pictures.
Placement placeFrame(PixelSize source, PixelSize display, PixelSize target, const PlacementRequest& request);

/// Pixels by which a rectangle may begin and end inside of a picture of this format: its chroma samples and
/// macropixels stay whole.
PixelSize placementStep(uint32_t fourcc);

/// `rect` clipped to a picture and narrowed to multiples of `step`; the picture's own edges count as such.
PixelRect clipRect(const PixelRect& rect, PixelSize picture, PixelSize step);

}  // namespace qvs

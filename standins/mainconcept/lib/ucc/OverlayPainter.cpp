// Clips an overlay to its picture and blends it in place.
#include "ucc/OverlayPainter.h"

#include <algorithm>

#include "ucc/kernels/Blend.h"

namespace qvs::ucc {
namespace {

// Also for negative values, where % rounds the other way.
int64_t floorTo(int64_t value, int64_t unit) {
  const int64_t rest = value % unit;
  return value - (rest < 0 ? rest + unit : rest);
}

int64_t ceilTo(int64_t value, int64_t unit) {
  return floorTo(value + unit - 1, unit);
}

// (over * alpha + under * (255 - alpha)) / 255, rounded to nearest.
void blendDeepRow(uint16_t* __restrict under, const uint16_t* over, const uint8_t* alpha, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t a = alpha[i];
    under[i] = static_cast<uint16_t>((over[i] * a + under[i] * (255 - a) + 127) / 255);
  }
}

// What shows through stays as opaque as it was, the rest is opaque.
void blendAlphaRow(uint8_t* __restrict under, const uint8_t* alpha, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t a = alpha[i];
    under[i] = static_cast<uint8_t>(a + (under[i] * (255 - a) + 127) / 255);
  }
}

ConstPlane readable(const PlaneView& plane) {
  return {plane.data, plane.stride};
}

}  // namespace

bool OverlayPainter::paint(const OverlayTask& task, const ucc_frame_t& target,
                           const ucc_overlay_config_t& overlay) {
  form = task.target->form;
  // 64 bits: x + width may pass the range of the record. Edges go out to whole chroma samples, with no alpha
  // there.
  const int64_t left = floorTo(overlay.x, 1 << form.shiftX);
  const int64_t top = floorTo(overlay.y, 1 << form.shiftY);
  const int64_t right = ceilTo(static_cast<int64_t>(overlay.x) + overlay.width, 1 << form.shiftX);
  const int64_t bottom = ceilTo(static_cast<int64_t>(overlay.y) + overlay.height, 1 << form.shiftY);
  place = {left, top, right, bottom};
  clip = {std::max<int64_t>(left, 0), std::max<int64_t>(top, 0), std::min<int64_t>(right, target.width),
          std::min<int64_t>(bottom, target.height)};
  if (clip.left >= clip.right || clip.top >= clip.bottom) return true;

  const OverlayCanvas::Shape shape{task,
                                   overlay.frame->width,
                                   overlay.frame->height,
                                   overlay.width,
                                   overlay.height,
                                   static_cast<uint32_t>(overlay.x - left),
                                   static_cast<uint32_t>(overlay.y - top)};
  if (!canvas.make(shape, overlay)) return false;
  if (task.target->planes == 1 || form.depth > 8) return paintGroups(target, *task.target);
  paintPlanes(target, *task.target);
  return true;
}

void OverlayPainter::paintPlanes(const ucc_frame_t& target, const PixelFormat& format) const {
  const auto planeOf = [&](int p) {
    return PlaneView{target.plane[p], target.stride[p], format.samplesInRow(p, target.width),
                     format.rowsOf(p, target.height)};
  };
  blendInto(planeOf(0), 0, 0, 0);
  if (format.planes == 2) {
    const bool vFirst = format.id == UCC_FORMAT_NV21;
    blendPairsInto(planeOf(1), vFirst ? 2 : 1, vFirst ? 1 : 2);
    return;
  }
  for (int i = 1; i < 3; ++i) blendInto(planeOf(i), i, 0, 0);
}

bool OverlayPainter::paintGroups(const ucc_frame_t& target, const PixelFormat& format) {
  // Packed bytes can only be rewritten in whole groups; the pixels around the overlay go in and out
  // unchanged.
  const int64_t group = std::max<int64_t>(format.plane[0].groupSamples, 1 << form.shiftX);
  const auto left = static_cast<uint32_t>(floorTo(clip.left, group));
  const auto right = static_cast<uint32_t>(std::min<int64_t>(ceilTo(clip.right, group), target.width));
  const auto top = static_cast<uint32_t>(clip.top);
  const auto bottom = static_cast<uint32_t>(clip.bottom);
  ucc_frame_t part = target;
  part.width = right - left;
  part.height = bottom - top;
  for (int p = 0; p < format.planes; ++p) {
    const PlaneCodec& codec = format.plane[p];
    if (!part.plane[p]) continue;
    const int64_t row = format.rowsOf(p, top);
    part.plane[p] +=
        row * target.stride[p] + format.samplesInRow(p, left) / codec.groupSamples * codec.groupBytes;
  }
  if (!region.allocate(form, format.hasAlpha, part.width, part.height,
                       1u << std::max(form.shiftX, form.shiftY))) {
    return false;
  }
  region.unpackFrom(format, part);
  for (int i = 0; i < 4; ++i) {
    if (region.plane(i).data) blendInto(region.plane(i), i, left, top);
  }
  region.packInto(format, part, region.plane(3));
  return true;
}

// `plane` starts at the pixel (originX, originY) of the target.
OverlayPainter::Window OverlayPainter::windowOf(const PlaneView& plane, int component, int64_t originX,
                                                int64_t originY, int64_t sampleBytes) const {
  const uint32_t shiftX = form.shiftXOf(component);
  const uint32_t shiftY = form.shiftYOf(component);
  const int64_t startX = originX >> shiftX;
  const int64_t startY = originY >> shiftY;
  const int64_t left = clip.left >> shiftX;
  const int64_t right = std::min(ceilTo(clip.right, 1 << shiftX) >> shiftX, startX + plane.width);
  const int64_t top = clip.top >> shiftY;
  const int64_t bottom = std::min(ceilTo(clip.bottom, 1 << shiftY) >> shiftY, startY + plane.height);
  if (left >= right || top >= bottom) return {};

  const auto moved = [&](PlaneView from, int64_t bytes) {
    from.data = from.row(static_cast<uint32_t>(top - (place.top >> shiftY))) +
                (left - (place.left >> shiftX)) * bytes;
    return from;
  };
  Window window{};
  window.under = plane.row(static_cast<uint32_t>(top - startY)) + (left - startX) * sampleBytes;
  if (component < 3) window.over = moved(canvas.plane(component), form.sampleBytes());
  window.alpha = moved(canvas.alphaOf(component), 1);
  window.width = static_cast<uint32_t>(right - left);
  window.height = static_cast<uint32_t>(bottom - top);
  return window;
}

void OverlayPainter::blendInto(const PlaneView& plane, int component, int64_t originX,
                               int64_t originY) const {
  const bool deep = form.depth > 8;
  const Window window = windowOf(plane, component, originX, originY, form.sampleBytes());
  if (!deep && component < 3) {
    blendPlane({window.under, plane.stride}, readable(window.over), readable(window.alpha), window.width,
               window.height);
    return;
  }
  for (uint32_t y = 0; y < window.height; ++y) {
    uint8_t* under = window.under + static_cast<ptrdiff_t>(y) * plane.stride;
    if (component == 3) {
      blendAlphaRow(under, window.alpha.row(y), window.width);
    } else {
      blendDeepRow(reinterpret_cast<uint16_t*>(under), reinterpret_cast<const uint16_t*>(window.over.row(y)),
                   window.alpha.row(y), window.width);
    }
  }
}

void OverlayPainter::blendPairsInto(const PlaneView& plane, int first, int second) const {
  constexpr int64_t kPairBytes = 2;
  const Window a = windowOf(plane, first, 0, 0, kPairBytes);
  const Window b = windowOf(plane, second, 0, 0, kPairBytes);
  blendPairs({a.under, plane.stride}, readable(a.over), readable(b.over), readable(a.alpha), a.width,
             a.height);
}

}  // namespace qvs::ucc

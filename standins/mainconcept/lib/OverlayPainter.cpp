#include "OverlayPainter.h"

#include <algorithm>

namespace qvs::ucc {
namespace {

int64_t floorTo(int64_t value, int64_t unit) {
  const int64_t rest = value % unit;
  return value - (rest < 0 ? rest + unit : rest);
}

int64_t ceilTo(int64_t value, int64_t unit) {
  return floorTo(value + unit - 1, unit);
}

// (over * alpha + under * (255 - alpha)) / 255, rounded to nearest.
template <class T>
void blendRow(T* under, const T* over, const uint8_t* alpha, int64_t count) {
  for (int64_t i = 0; i < count; ++i) {
    const uint32_t a = alpha[i];
    under[i] = static_cast<T>((over[i] * a + under[i] * (255 - a) + 127) / 255);
  }
}

// What shows through stays as opaque as it was, the rest is opaque.
void blendAlphaRow(uint8_t* under, const uint8_t* alpha, int64_t count) {
  for (int64_t i = 0; i < count; ++i) {
    const uint32_t a = alpha[i];
    under[i] = static_cast<uint8_t>(a + (under[i] * (255 - a) + 127) / 255);
  }
}

}  // namespace

bool OverlayPainter::paint(const OverlayTask& task, const ucc_frame_t& target,
                           const ucc_overlay_config_t& overlay) {
  form_ = task.target->form;
  const int64_t left = floorTo(overlay.x, 1 << form_.shiftX);
  const int64_t top = floorTo(overlay.y, 1 << form_.shiftY);
  const int64_t right = ceilTo(static_cast<int64_t>(overlay.x) + overlay.width, 1 << form_.shiftX);
  const int64_t bottom = ceilTo(static_cast<int64_t>(overlay.y) + overlay.height, 1 << form_.shiftY);
  place_ = {left, top, right, bottom};
  clip_ = {std::max<int64_t>(left, 0), std::max<int64_t>(top, 0), std::min<int64_t>(right, target.width),
           std::min<int64_t>(bottom, target.height)};
  if (clip_.left >= clip_.right || clip_.top >= clip_.bottom) return true;

  const OverlayCanvas::Shape shape{task,
                                   overlay.frame->width,
                                   overlay.frame->height,
                                   overlay.width,
                                   overlay.height,
                                   static_cast<uint32_t>(overlay.x - left),
                                   static_cast<uint32_t>(overlay.y - top)};
  if (!canvas_.make(shape, overlay)) return false;
  if (!task.target->isPlanar8()) return paintGroups(target, *task.target);
  paintPlanes(target, *task.target);
  return true;
}

void OverlayPainter::paintPlanes(const ucc_frame_t& target, const PixelFormat& format) const {
  for (int i = 0; i < 3; ++i) {
    blendInto({target.plane[i], target.stride[i], format.samplesInRow(i, target.width),
               format.rowsOf(i, target.height)},
              i, 0, 0);
  }
}

bool OverlayPainter::paintGroups(const ucc_frame_t& target, const PixelFormat& format) {
  const int64_t group = std::max<int64_t>(format.plane[0].groupSamples, 1 << form_.shiftX);
  const auto left = static_cast<uint32_t>(floorTo(clip_.left, group));
  const auto right = static_cast<uint32_t>(std::min<int64_t>(ceilTo(clip_.right, group), target.width));
  const auto top = static_cast<uint32_t>(clip_.top);
  const auto bottom = static_cast<uint32_t>(clip_.bottom);
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
  if (!region_.allocate(form_, format.hasAlpha, part.width, part.height,
                        1u << std::max(form_.shiftX, form_.shiftY))) {
    return false;
  }
  region_.unpackFrom(format, part);
  for (int i = 0; i < 4; ++i) {
    if (region_.plane(i).data) blendInto(region_.plane(i), i, left, top);
  }
  region_.packInto(format, part, region_.plane(3));
  return true;
}

// `plane` starts at the pixel (originX, originY) of the target.
void OverlayPainter::blendInto(const PlaneView& plane, int component, int64_t originX,
                               int64_t originY) const {
  const uint32_t shiftX = form_.shiftXOf(component);
  const uint32_t shiftY = form_.shiftYOf(component);
  const int64_t left = clip_.left >> shiftX;
  const int64_t right =
      std::min(ceilTo(clip_.right, 1 << shiftX) >> shiftX, (originX >> shiftX) + plane.width);
  const int64_t top = clip_.top >> shiftY;
  const int64_t bottom =
      std::min(ceilTo(clip_.bottom, 1 << shiftY) >> shiftY, (originY >> shiftY) + plane.height);
  if (left >= right || top >= bottom) return;
  const int64_t bytes = form_.sampleBytes();
  const int64_t canvasX = left - (place_.left >> shiftX);
  for (int64_t y = top; y < bottom; ++y) {
    const auto canvasY = static_cast<uint32_t>(y - (place_.top >> shiftY));
    uint8_t* under =
        plane.row(static_cast<uint32_t>(y - (originY >> shiftY))) + (left - (originX >> shiftX)) * bytes;
    const uint8_t* alpha = canvas_.alphaOf(component).row(canvasY) + canvasX;
    if (component == 3) {
      blendAlphaRow(under, alpha, right - left);
      continue;
    }
    const uint8_t* over = canvas_.plane(component).row(canvasY) + canvasX * bytes;
    if (bytes == 1) {
      blendRow(under, over, alpha, right - left);
    } else {
      blendRow(reinterpret_cast<uint16_t*>(under), reinterpret_cast<const uint16_t*>(over), alpha,
               right - left);
    }
  }
}

}  // namespace qvs::ucc

// An overlay made ready for blending: scaled, converted, with its alpha in every plane size.
#include "ucc/OverlayCanvas.h"

#include <algorithm>
#include <cstring>

namespace qvs::ucc {
namespace {

constexpr uint8_t kOpaque = 255;

template <class T>
T* rowOf(const PlaneView& plane, uint32_t y) {
  return reinterpret_cast<T*>(plane.row(y));
}

// Calls `use(x, y)` for each luma position of a canvas's block of columns and rows that the overlay covers.
template <class Use>
void forBlock(const OverlayCanvas::Shape& shape, uint32_t left, uint32_t top, uint32_t columns, uint32_t rows,
              Use use) {
  const uint32_t endX = std::min(left + columns, shape.phaseX + shape.width);
  const uint32_t endY = std::min(top + rows, shape.phaseY + shape.height);
  for (uint32_t y = std::max(top, shape.phaseY); y < endY; ++y) {
    for (uint32_t x = std::max(left, shape.phaseX); x < endX; ++x) use(x, y);
  }
}

}  // namespace

bool OverlayCanvas::make(const Shape& wanted, const ucc_overlay_config_t& overlay) {
  const bool sameShape = shaped && wanted == shape;
  if (sameShape && filled && overlay.content_id != 0 && overlay.content_id == contentId) return true;
  filled = false;
  if (!sameShape && !reshape(wanted)) return false;
  if (!conversion.run(*overlay.frame)) return false;
  fill();
  contentId = overlay.content_id;
  filled = true;
  return true;
}

bool OverlayCanvas::reshape(const Shape& wanted) {
  shaped = false;
  shape = wanted;
  const WorkingForm& form = wanted.task.target->form;
  const WorkingForm fullChroma{form.family, form.depth, 0, 0};
  const WorkingForm alphaForm{Family::kYuv, 8, form.shiftX, form.shiftY};
  const uint32_t width = wanted.phaseX + wanted.width;
  const uint32_t height = wanted.phaseY + wanted.height;
  const uint32_t unit = 1u << std::max(form.shiftX, form.shiftY);
  shaped = conversion.configure(
               {fullChroma, true, wanted.width, wanted.height, wanted.task.targetColor},
               {wanted.task.overlay, wanted.sourceWidth, wanted.sourceHeight, wanted.task.overlayColor}) &&
           planes.allocate(form, false, width, height, unit) &&
           alphas.allocate(alphaForm, false, width, height, unit);
  return shaped;
}

void OverlayCanvas::fill() {
  fillAlpha();
  averageAlpha();
  if (planes.form().depth > 8) {
    fillPlanes<uint16_t>();
  } else {
    fillPlanes<uint8_t>();
  }
}

void OverlayCanvas::fillAlpha() {
  const PlaneView& to = alphas.plane(0);
  const PlaneView& from = conversion.alpha();
  for (uint32_t y = 0; y < to.height; ++y) std::memset(to.row(y), 0, to.width);
  for (uint32_t y = 0; y < shape.height; ++y) {
    uint8_t* row = to.row(shape.phaseY + y) + shape.phaseX;
    if (from.data) {
      std::memcpy(row, from.row(y), shape.width);
    } else {
      std::memset(row, kOpaque, shape.width);
    }
  }
}

void OverlayCanvas::averageAlpha() {
  const PlaneView& to = alphas.plane(1);
  const uint32_t columns = 1u << alphas.form().shiftX;
  const uint32_t rows = 1u << alphas.form().shiftY;
  const uint32_t count = columns * rows;
  for (uint32_t y = 0; y < to.height; ++y) {
    for (uint32_t x = 0; x < to.width; ++x) {
      uint32_t sum = 0;
      forBlock(shape, x * columns, y * rows, columns, rows,
               [&](uint32_t column, uint32_t row) { sum += alphas.plane(0).row(row)[column]; });
      to.row(y)[x] = static_cast<uint8_t>((sum + count / 2) / count);
    }
  }
}

template <class T>
void OverlayCanvas::fillPlanes() {
  placeComponent<T>(0);
  for (int i = 1; i < 3; ++i) averageComponent<T>(i);
}

template <class T>
void OverlayCanvas::placeComponent(int component) {
  const PlaneView& to = planes.plane(component);
  const PlaneView& from = conversion.result().plane(component);
  for (uint32_t y = 0; y < to.height; ++y) std::memset(to.row(y), 0, to.width * sizeof(T));
  for (uint32_t y = 0; y < shape.height; ++y) {
    std::memcpy(rowOf<T>(to, shape.phaseY + y) + shape.phaseX, from.row(y), shape.width * sizeof(T));
  }
}

// Weighted by alpha, so that the color of transparent pixels doesn't show at the overlay's edges.
template <class T>
void OverlayCanvas::averageComponent(int component) {
  const WorkingForm& form = planes.form();
  const PlaneView& to = planes.plane(component);
  const PlaneView& from = conversion.result().plane(component);
  const uint32_t columns = 1u << form.shiftXOf(component);
  const uint32_t rows = 1u << form.shiftYOf(component);
  for (uint32_t y = 0; y < to.height; ++y) {
    for (uint32_t x = 0; x < to.width; ++x) {
      uint64_t sum = 0;
      uint64_t weights = 0;
      forBlock(shape, x * columns, y * rows, columns, rows, [&](uint32_t column, uint32_t row) {
        const uint64_t weight = alphas.plane(0).row(row)[column];
        weights += weight;
        sum += weight * rowOf<T>(from, row - shape.phaseY)[column - shape.phaseX];
      });
      rowOf<T>(to, y)[x] = static_cast<T>(weights ? (sum + weights / 2) / weights : form.neutral());
    }
  }
}

}  // namespace qvs::ucc

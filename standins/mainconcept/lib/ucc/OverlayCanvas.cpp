// The planes that an overlay passes on its way to a target's layout.
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

bool OverlayCanvas::make(const Shape& shape, const ucc_overlay_config_t& overlay) {
  const bool sameShape = shaped_ && shape == shape_;
  if (sameShape && filled_ && overlay.content_id != 0 && overlay.content_id == contentId_) return true;
  filled_ = false;
  if (!sameShape && !reshape(shape)) return false;
  if (!conversion_.run(*overlay.frame)) return false;
  fill();
  contentId_ = overlay.content_id;
  filled_ = true;
  return true;
}

bool OverlayCanvas::reshape(const Shape& shape) {
  shaped_ = false;
  shape_ = shape;
  const WorkingForm& form = shape.task.target->form;
  const WorkingForm fullChroma{form.family, form.depth, 0, 0};
  const WorkingForm alphaForm{Family::kYuv, 8, form.shiftX, form.shiftY};
  const uint32_t width = shape.phaseX + shape.width;
  const uint32_t height = shape.phaseY + shape.height;
  const uint32_t unit = 1u << std::max(form.shiftX, form.shiftY);
  shaped_ = conversion_.configure(
                {fullChroma, true, shape.width, shape.height, shape.task.targetColour},
                {shape.task.overlay, shape.sourceWidth, shape.sourceHeight, shape.task.overlayColour}) &&
            planes_.allocate(form, false, width, height, unit) &&
            alphas_.allocate(alphaForm, false, width, height, unit);
  return shaped_;
}

void OverlayCanvas::fill() {
  fillAlpha();
  averageAlpha();
  if (planes_.form().depth > 8) {
    fillPlanes<uint16_t>();
  } else {
    fillPlanes<uint8_t>();
  }
}

void OverlayCanvas::fillAlpha() {
  const PlaneView& to = alphas_.plane(0);
  const PlaneView& from = conversion_.alpha();
  for (uint32_t y = 0; y < to.height; ++y) std::memset(to.row(y), 0, to.width);
  for (uint32_t y = 0; y < shape_.height; ++y) {
    uint8_t* row = to.row(shape_.phaseY + y) + shape_.phaseX;
    if (from.data) {
      std::memcpy(row, from.row(y), shape_.width);
    } else {
      std::memset(row, kOpaque, shape_.width);
    }
  }
}

void OverlayCanvas::averageAlpha() {
  const PlaneView& to = alphas_.plane(1);
  const uint32_t columns = 1u << alphas_.form().shiftX;
  const uint32_t rows = 1u << alphas_.form().shiftY;
  const uint32_t count = columns * rows;
  for (uint32_t y = 0; y < to.height; ++y) {
    for (uint32_t x = 0; x < to.width; ++x) {
      uint32_t sum = 0;
      forBlock(shape_, x * columns, y * rows, columns, rows,
               [&](uint32_t column, uint32_t row) { sum += alphas_.plane(0).row(row)[column]; });
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
  const PlaneView& to = planes_.plane(component);
  const PlaneView& from = conversion_.result().plane(component);
  for (uint32_t y = 0; y < to.height; ++y) std::memset(to.row(y), 0, to.width * sizeof(T));
  for (uint32_t y = 0; y < shape_.height; ++y) {
    std::memcpy(rowOf<T>(to, shape_.phaseY + y) + shape_.phaseX, from.row(y), shape_.width * sizeof(T));
  }
}

// Weighted by alpha, so that the colour of transparent pixels doesn't show at the overlay's edges.
template <class T>
void OverlayCanvas::averageComponent(int component) {
  const WorkingForm& form = planes_.form();
  const PlaneView& to = planes_.plane(component);
  const PlaneView& from = conversion_.result().plane(component);
  const uint32_t columns = 1u << form.shiftXOf(component);
  const uint32_t rows = 1u << form.shiftYOf(component);
  for (uint32_t y = 0; y < to.height; ++y) {
    for (uint32_t x = 0; x < to.width; ++x) {
      uint64_t sum = 0;
      uint64_t weights = 0;
      forBlock(shape_, x * columns, y * rows, columns, rows, [&](uint32_t column, uint32_t row) {
        const uint64_t weight = alphas_.plane(0).row(row)[column];
        weights += weight;
        sum += weight * rowOf<T>(from, row - shape_.phaseY)[column - shape_.phaseX];
      });
      rowOf<T>(to, y)[x] = static_cast<T>(weights ? (sum + weights / 2) / weights : form.neutral());
    }
  }
}

}  // namespace qvs::ucc

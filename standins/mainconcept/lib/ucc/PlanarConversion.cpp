// From any format to planes of a wanted shape, size and color.
#include "ucc/PlanarConversion.h"

#include <algorithm>
#include <cstring>

namespace qvs::ucc {
namespace {

// What both sides' sizes round up to, so that planes of equal pictures stay equal in size.
uint32_t unitOf(const WorkingForm& a, const WorkingForm& b) {
  return 1u << std::max({a.shiftX, a.shiftY, b.shiftX, b.shiftY});
}

}  // namespace

bool PlanarConversion::configure(const Target& target, const Source& source) {
  wanted_ = target;
  given_ = source;
  const WorkingForm& from = source.format->form;
  const bool alpha = target.alpha && source.format->hasAlpha;
  const uint32_t padTo = unitOf(from, target.form);
  scaled_ = source.width != target.width || source.height != target.height;
  straightAlpha_ = {};  // of the old geometry: run() builds it again when it is needed
  graphNeeded_ = scaled_ || from != target.form || source.colour != target.colour;
  if (!source_.allocate(from, alpha, source.width, source.height, padTo)) return false;
  // At equal size alpha needs no conversion: it is always full range and 8-bit.
  alpha_ = scaled_ ? PlaneView{} : source_.plane(3);
  if (!graphNeeded_) return true;
  return target_.allocate(target.form, alpha && scaled_, target.width, target.height, padTo) &&
         preparePlain();
}

bool PlanarConversion::preparePlain() {
  const WorkingForm& form = wanted_.form;
  byPlanes_ = scaled_ && form.depth == 8 && form == given_.format->form && wanted_.colour == given_.colour;
  if (!byPlanes_) return plain_.build({&target_, wanted_.colour, false}, {&source_, given_.colour, false});
  // A picture too small for chroma has one neutral sample of it in the scratch planes.
  const auto chromaSize = [](uint32_t size, uint32_t shift) { return std::max(size >> shift, 1u); };
  return luma_.configure(given_.width, given_.height, wanted_.width, wanted_.height) &&
         chroma_.configure(chromaSize(given_.width, form.shiftX), chromaSize(given_.height, form.shiftY),
                           chromaSize(wanted_.width, form.shiftX), chromaSize(wanted_.height, form.shiftY));
}

bool PlanarConversion::runPlain() {
  if (!byPlanes_) return plain_.run(target_, source_);
  for (int i = 0; i < 3; ++i) {
    const PlaneView& from = source_.plane(i);
    const PlaneView& to = target_.plane(i);
    (i == 0 ? luma_ : chroma_).run(from.data, from.stride, to.data, to.stride);
  }
  return true;
}

bool PlanarConversion::run(const ucc_frame_t& source) {
  source_.unpackFrom(*given_.format, source);
  if (!graphNeeded_) return true;
  return target_.hasAlpha() ? runScalingAlpha() : runPlain();
}

// Straight alpha scales by way of premultiplied colours, which would turn a picture whose alpha is unused and
// 0 black: so alpha that is the same all over stays out of the scaling.
bool PlanarConversion::runScalingAlpha() {
  alpha_ = target_.plane(3);
  if (alphaIsUniform()) {
    for (uint32_t y = 0; y < alpha_.height; ++y)
      std::memset(alpha_.row(y), *source_.plane(3).data, alpha_.width);
    return runPlain();
  }
  if (!straightAlpha_.built() &&
      !straightAlpha_.build({&target_, wanted_.colour, true}, {&source_, given_.colour, true})) {
    return false;
  }
  if (!straightAlpha_.run(target_, source_)) return false;
  if (target_.form().depth > 8) narrowAlpha();
  return true;
}

bool PlanarConversion::alphaIsUniform() const {
  const PlaneView& alpha = source_.plane(3);
  for (uint32_t y = 0; y < source_.height(); ++y) {
    const uint8_t* row = alpha.row(y);
    if (row[0] != *alpha.data || std::memcmp(row, row + 1, source_.width() - 1) != 0) return false;
  }
  return true;
}

// The graph writes alpha at the depth of the other planes.
void PlanarConversion::narrowAlpha() {
  const uint32_t max = (1u << target_.form().depth) - 1;
  for (uint32_t y = 0; y < alpha_.height; ++y) {
    uint8_t* row = alpha_.row(y);
    for (uint32_t x = 0; x < alpha_.width; ++x) {
      uint16_t deep;
      std::memcpy(&deep, row + 2 * x, sizeof deep);
      row[x] = static_cast<uint8_t>((deep * 255u + max / 2) / max);
    }
  }
}

}  // namespace qvs::ucc

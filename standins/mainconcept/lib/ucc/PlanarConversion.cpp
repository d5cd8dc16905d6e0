// From a picture of any format to plain planes.
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
  wanted = target;
  given = source;
  const WorkingForm& from = source.format->form;
  const bool alpha = target.alpha && source.format->hasAlpha;
  const uint32_t padTo = unitOf(from, target.form);
  scaled = source.width != target.width || source.height != target.height;
  straightAlpha = {};  // of the old geometry: run() builds it again when it is needed
  graphNeeded = scaled || from != target.form || source.color != target.color;
  if (!sourcePlanes.allocate(from, alpha, source.width, source.height, padTo)) return false;
  // At equal size alpha needs no conversion: it is always full range and 8-bit.
  alphaPlane = scaled ? PlaneView{} : sourcePlanes.plane(3);
  if (!graphNeeded) return true;
  return targetPlanes.allocate(target.form, alpha && scaled, target.width, target.height, padTo) &&
         preparePlain();
}

bool PlanarConversion::preparePlain() {
  const WorkingForm& form = wanted.form;
  byPlanes = scaled && form.depth == 8 && form == given.format->form && wanted.color == given.color;
  if (!byPlanes)
    return plain.build({&targetPlanes, wanted.color, false}, {&sourcePlanes, given.color, false});
  // A picture too small for chroma has one neutral sample of it in the scratch planes.
  const auto chromaSize = [](uint32_t size, uint32_t shift) { return std::max(size >> shift, 1u); };
  return luma.configure(given.width, given.height, wanted.width, wanted.height) &&
         chroma.configure(chromaSize(given.width, form.shiftX), chromaSize(given.height, form.shiftY),
                          chromaSize(wanted.width, form.shiftX), chromaSize(wanted.height, form.shiftY));
}

bool PlanarConversion::runPlain() {
  if (!byPlanes) return plain.run(targetPlanes, sourcePlanes);
  for (int i = 0; i < 3; ++i) {
    const PlaneView& from = sourcePlanes.plane(i);
    const PlaneView& to = targetPlanes.plane(i);
    (i == 0 ? luma : chroma).run(from.data, from.stride, to.data, to.stride);
  }
  return true;
}

bool PlanarConversion::run(const ucc_frame_t& source) {
  sourcePlanes.unpackFrom(*given.format, source);
  if (!graphNeeded) return true;
  return targetPlanes.hasAlpha() ? runScalingAlpha() : runPlain();
}

// Straight alpha scales by way of premultiplied colors, which would turn a picture whose alpha is unused and
// 0 black: so alpha that is the same all over stays out of the scaling.
bool PlanarConversion::runScalingAlpha() {
  alphaPlane = targetPlanes.plane(3);
  if (alphaIsUniform()) {
    for (uint32_t y = 0; y < alphaPlane.height; ++y)
      std::memset(alphaPlane.row(y), *sourcePlanes.plane(3).data, alphaPlane.width);
    return runPlain();
  }
  if (!straightAlpha.built() &&
      !straightAlpha.build({&targetPlanes, wanted.color, true}, {&sourcePlanes, given.color, true})) {
    return false;
  }
  if (!straightAlpha.run(targetPlanes, sourcePlanes)) return false;
  if (targetPlanes.form().depth > 8) narrowAlpha();
  return true;
}

bool PlanarConversion::alphaIsUniform() const {
  const PlaneView& alpha = sourcePlanes.plane(3);
  for (uint32_t y = 0; y < sourcePlanes.height(); ++y) {
    const uint8_t* row = alpha.row(y);
    if (row[0] != *alpha.data || std::memcmp(row, row + 1, sourcePlanes.width() - 1) != 0) return false;
  }
  return true;
}

// The graph writes alpha at the depth of the other planes.
void PlanarConversion::narrowAlpha() {
  const uint32_t max = (1u << targetPlanes.form().depth) - 1;
  for (uint32_t y = 0; y < alphaPlane.height; ++y) {
    uint8_t* row = alphaPlane.row(y);
    for (uint32_t x = 0; x < alphaPlane.width; ++x) {
      uint16_t deep;
      std::memcpy(&deep, row + 2 * x, sizeof deep);
      row[x] = static_cast<uint8_t>((deep * 255u + max / 2) / max);
    }
  }
}

}  // namespace qvs::ucc

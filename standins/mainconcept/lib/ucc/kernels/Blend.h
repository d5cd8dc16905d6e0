// Alpha blending in place: target = (source * alpha + target * (255 - alpha)) / 255, rounded to the nearest.
#pragma once

#include <cstddef>
#include <cstdint>

#include "BgraTo420.h"

namespace qvs::ucc {

/// A plane to read; the stride is in bytes and may be negative.
struct ConstPlane {
  const uint8_t* data;
  ptrdiff_t stride;
};

/// A plane to write.
struct MutablePlane {
  uint8_t* data;
  ptrdiff_t stride;
};

/// Blends `width` x `height` samples; the planes must not overlap.
void blendPlane(MutablePlane dst, ConstPlane src, ConstPlane alpha, uint32_t width, uint32_t height);

/// Blends `width` pairs a row into a plane of U and V side by side. One alpha serves both samples of a pair.
void blendPairs(MutablePlane dst, ConstPlane u, ConstPlane v, ConstPlane alpha, uint32_t width,
                uint32_t height);

/// Where the overlay's first pixel stands on the 2 x 2 grid of the picture below: the low bits of its
/// position.
struct ChromaPhase {
  uint8_t x;  ///< 0 or 1
  uint8_t y;
};

/// Planes of an overlay that is ready to be blended over 4:2:0. Chroma planes, alpha among them, have
/// chromaWidth() x chromaHeight() samples; the first stands at half the overlay's position, rounded down.
struct OverlayPlanes {
  MutablePlane y;
  MutablePlane alpha;
  MutablePlane u;
  MutablePlane v;
  MutablePlane chromaAlpha;
};

/// Chroma samples that an overlay of `size` pixels (or rows) touches at the given phase.
constexpr uint32_t overlayChromaSize(uint32_t size, uint8_t phase) {
  return (size + phase + 1) / 2;
}

/// Splits a straight-alpha four-byte overlay. Chroma is the mean of each 2 x 2 block weighted by alpha, so
/// that a transparent pixel's color counts for nothing; chroma alpha is the mean over the whole block,
/// pixels outside the overlay being transparent.
void makeOverlayPlanes(ConstPlane rgba, const RgbOrder& order, const RgbToYuvMatrix& matrix, uint32_t width,
                       uint32_t height, ChromaPhase phase, const OverlayPlanes& out);

}  // namespace qvs::ucc

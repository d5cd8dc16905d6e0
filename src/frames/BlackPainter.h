#pragma once

#include "frames/geometry/FitPlacement.h"
#include "mc_frame.h"

namespace qvs {

/// Paints black in a picture's own format: luma 0 and chroma 128, the full range's black.
class BlackPainter {
 public:
  /// `converter` serves formats that aren't 8-bit YUV in planes. Borrowed.
  BlackPainter(void* converter, const frame_tt& frame) : converter(converter), frame(frame) {}

  /// Both want rectangles inside of the picture, on whole chroma samples. False where the format can't be
  /// painted.
  bool paint(const PixelRect& rect) const;
  bool paintAround(const PixelRect& rect) const;

 private:
  bool paintByConverter(const PixelRect& rect) const;
  void fill(uint32_t plane, const PixelRect& rect, uint8_t value) const;

  void* converter;
  const frame_tt& frame;
};

}  // namespace qvs

#pragma once

#include "BitWriter.h"
#include "VaCodec.h"

namespace qvs::vaapi {

/// The description of the video signal, which H.264 and H.265 write alike.
inline void writeColor(BitWriter& out, const ColorDescription& color) {
  constexpr uint32_t kUnspecifiedFormat = 5;
  out.bit(color.isTold());
  if (!color.isTold()) return;
  out.bits(kUnspecifiedFormat, 3);
  out.bit(color.fullRange > 0);
  out.bit(true);
  for (uint32_t value : {color.primaries, color.transfer, color.matrix}) out.bits(value, 8);
}

}  // namespace qvs::vaapi

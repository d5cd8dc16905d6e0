#pragma once

#include <DeckLinkAPI.h>

#include "mc_ucc.h"

namespace qvs {

/// A layout of a card's pictures.
struct BlackMagicPixelFormat {
  BMDPixelFormat format;
  const char* name;
  uint32_t uccFormat;  ///< UCC_FORMAT_UNKNOWN: the driver converts to 8-bit YUV first
  uint32_t groupPixels;
  uint32_t groupBytes;
  uint32_t rgbRange;  ///< ucc_signal_range_e of RGB; 0 for YUV

  uint32_t rowBytes(uint32_t width) const { return (width + groupPixels - 1) / groupPixels * groupBytes; }
};

/// Null for a layout that isn't supported.
const BlackMagicPixelFormat* findBlackMagicPixelFormat(BMDPixelFormat format);

}  // namespace qvs

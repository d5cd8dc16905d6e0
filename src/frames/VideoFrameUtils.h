#pragma once

#include <cstdint>

#include "mc_ucc.h"

namespace qvs {

/// One-off conversions in host memory, tightly packed. 0 on success, 1 without a converter, a format that it
/// doesn't know, or a size that it refuses.
class VideoFrameUtils {
 public:
  static uint32_t uccConvertFOURCCToBGRA(const uint8_t* source, uint8_t* target, uint32_t width,
                                         uint32_t height, uint32_t fourcc);
  static uint32_t uccConvertBGRAToVUYA(const uint8_t* source, uint8_t* target, uint32_t width,
                                       uint32_t height);
  /// From a picture as the converter sees it.
  static uint32_t uccConvertToVUYA(const ucc_frame_t& source, uint8_t* target);
  static uint32_t uccConvertToBGRA(const ucc_frame_t& source, uint8_t* target);
};

}  // namespace qvs

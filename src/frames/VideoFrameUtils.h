#pragma once

#include <cstdint>

namespace qvs {

/// One-off conversions in host memory, tightly packed. 0 on success, 1 without a converter, a format that it
/// doesn't know, or a size that it refuses.
class VideoFrameUtils {
 public:
  static uint32_t uccConvertFOURCCToBGRA(const uint8_t* source, uint8_t* target, uint32_t width,
                                         uint32_t height, uint32_t fourcc);
  static uint32_t uccConvertBGRAToVUYA(const uint8_t* source, uint8_t* target, uint32_t width,
                                       uint32_t height);
};

}  // namespace qvs

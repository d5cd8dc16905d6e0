#pragma once

#include <cstdint>

namespace qvs {

/// Reads samples out of lines of packed 10-bit 4:2:2 ("v210": groups of 16 bytes). The caller vouches for the
/// groups that the counts reach. Results are 0.
class CaptureAncillaryDataUtils {
 public:
  /// The first `count` samples of a line: all of them where `chromaAndLuma` isn't 0, else only the luma.
  static uint32_t getAncillaryData(const uint8_t* line, uint32_t count, uint32_t chromaAndLuma, uint16_t* out,
                                   uint32_t* written);

  /// Luma, reduced to 8 bits, of the lines from `firstLine` to `lastLine`, counted from 1, one after the
  /// other.
  static uint32_t getYOfImageData(const uint8_t* image, uint32_t width, uint32_t stride, uint32_t firstLine,
                                  uint32_t lastLine, uint8_t* out);
};

}  // namespace qvs

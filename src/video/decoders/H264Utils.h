#pragma once

#include <cstdint>
#include <vector>

namespace qvs {

/// One NAL unit in someone else's memory, without start code.
struct H264UtilsFrameNALUnit {
  uint8_t* buffer = nullptr;
  uint32_t len = 0;  ///< bytes
  uint32_t nalType = 0;
};

/// The units of an access unit. Indices point into `nalUnits`; -1: there is none.
struct H264UtilsFrameNALUnits {
  uint32_t frameType = 2;  ///< 1 key, 2 predicted, 3 bidirectional
  uint32_t totalSize = 0;  ///< bytes of all units without start codes
  int32_t audIndex = -1;
  int32_t spsIndex = -1;
  int32_t ppsIndex = -1;
  int32_t sliceIndex = -1;
  std::vector<H264UtilsFrameNALUnit> nalUnits;
};

/// Helpers for holders of H.264 in Annex B form.
class H264Utils {
 public:
  /// Lists the units up to and including the first slice, which is taken to run to the end. The buffer is
  /// borrowed. Replaces what `units` held.
  static void breakH264FrameIntoNALUnits(uint8_t* buffer, uint32_t len, H264UtilsFrameNALUnits& units);

  /// Bytes of the configuration record; 0 without both parameter sets.
  static uint32_t codecConfigInfoToAVCCLen(const H264UtilsFrameNALUnits& units);

  /// Writes the record of `codecConfigInfoToAVCCLen` bytes. Writes nothing without both parameter sets, for a
  /// sequence parameter set of 4 bytes or less, or where a set is too long for its 16-bit length.
  static void codecConfigInfoToAVCC(const H264UtilsFrameNALUnits& units, uint8_t* out);

  /// Frames a second as a fraction: whole numbers over 1, the 1001 family over 1001, all else over 10000.
  static void convertFrameRate(double rate, uint32_t* numerator, uint32_t* denominator);
};

}  // namespace qvs

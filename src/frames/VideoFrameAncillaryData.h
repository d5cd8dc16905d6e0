#pragma once

#include <algorithm>
#include <cstdint>

namespace qvs {

/// One data packet from the vertical blanking of a picture, as it came.
class VideoFrameAncillaryData {
 public:
  static constexpr uint32_t kWordsMax = 1920;

  VideoFrameAncillaryData() {}  // NOLINT: the words stay unset, 7.5 KiB a packet
  VideoFrameAncillaryData(const VideoFrameAncillaryData&) = default;
  VideoFrameAncillaryData& operator=(const VideoFrameAncillaryData&) = default;

  int32_t did = 0;  ///< data identifier
  int32_t sid = 0;  ///< secondary data identifier
  int32_t dbn = 0;  ///< data block number
  int32_t dc = 0;   ///< data count
  int32_t checksum = 0;
  int32_t buffer[kWordsMax];  ///< user data, one word an element
  uint32_t bufferLen = 0;     ///< words in use
};

}  // namespace qvs

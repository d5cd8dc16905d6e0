#pragma once

#include <array>
#include <vector>

#include "capture/decklink/BlackMagicCaptureState.h"
#include "frames/FrameSideData.h"

namespace qvs {

/// Timecodes and ancillary packets of a card's pictures. One thread.
class BlackMagicSideData {
 public:
  static constexpr size_t kPacketsMax = 500;  ///< that wait for a picture
  struct Counts {
    uint32_t packets = 0;
    uint32_t captions = 0;  ///< CEA-708 packets among them
  };

  explicit BlackMagicSideData(BlackMagicCaptureState& device) : device(device) {}

  /// A set-up has changed: timecodes are logged once again.
  void tellTimecodesAgain() { logStreamIncludesTimecode = true; }
  void readTimecodes(IDeckLinkVideoFrame& frame);
  Counts readAncillary(IDeckLinkVideoFrame& frame, uint32_t width);
  /// Gives the picture what was read, and forgets it.
  void moveTo(FrameSideData& picture);
  void clearTimecodes() { timecodeCount = 0; }

 private:
  void logTimecodes() const;
  Counts readLine(const uint8_t* line, uint32_t width, bool isNtsc);
  void keep(const struct VancPacket& packet);
  void tellBadChecksums(uint32_t count);

  BlackMagicCaptureState& device;
  std::array<VideoFrameBufferTimecodeInfo, FrameSideData::kTimecodeInfoMax> timecodes{};
  uint32_t timecodeCount = 0;
  bool logStreamIncludesTimecode = true;
  std::vector<VideoFrameAncillaryData> ancillaryData;
  uint64_t badChecksums = 0, toldBadChecksums = 0;
  bool toldFormat = false;
};

}  // namespace qvs

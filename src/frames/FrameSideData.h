#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "frames/VideoFrameAncillaryData.h"
#include "frames/VideoFrameBufferTimecodeInfo.h"

namespace qvs {

/// Data that travels with a picture: SMPTE timecodes and the packets of its vertical blanking.
class FrameSideData {
 public:
  static constexpr uint32_t kTimecodeInfoMax = 12;

  /// Keeps up to kTimecodeInfoMax.
  void setTimecodeInfo(const VideoFrameBufferTimecodeInfo* items, uint32_t count);
  /// `*count` is the capacity going in and the number written coming out; with null items, the number there
  /// is.
  void getTimecodeInfo(VideoFrameBufferTimecodeInfo* items, uint32_t* count) const;
  uint32_t getTimecodeInfoCount() const { return timecodeInfoCount; }
  void copyTimecodeInfo(const FrameSideData& other);

  void addAncillaryDataObj(const VideoFrameAncillaryData& item) { ancillaryData.push_back(item); }
  /// Appends to `list`.
  void getAncillaryDataObjs(std::vector<VideoFrameAncillaryData>& list) const;
  void clearAncillaryDataObjs() { ancillaryData.clear(); }
  void copyAncillaryData(const FrameSideData& other);
  /// Drops the ancillary data; pixels and times stay.
  void recycle() { clearAncillaryDataObjs(); }

 private:
  std::array<VideoFrameBufferTimecodeInfo, kTimecodeInfoMax> timecodeInfo{};
  uint32_t timecodeInfoCount = 0;
  std::vector<VideoFrameAncillaryData> ancillaryData;
};

}  // namespace qvs

// Timecodes and ancillary data of a picture.
#include "frames/FrameSideData.h"

#include <algorithm>

namespace qvs {

void FrameSideData::setTimecodeInfo(const VideoFrameBufferTimecodeInfo* items, uint32_t count) {
  timecodeInfoCount = items != nullptr ? std::min(count, kTimecodeInfoMax) : 0;
  std::copy_n(items, timecodeInfoCount, timecodeInfo.begin());
}

void FrameSideData::getTimecodeInfo(VideoFrameBufferTimecodeInfo* items, uint32_t* count) const {
  if (count == nullptr) return;
  *count = items != nullptr ? std::min(*count, timecodeInfoCount) : timecodeInfoCount;
  if (items != nullptr) std::copy_n(timecodeInfo.begin(), *count, items);
}

void FrameSideData::copyTimecodeInfo(const FrameSideData& other) {
  setTimecodeInfo(other.timecodeInfo.data(), other.timecodeInfoCount);
}

void FrameSideData::getAncillaryDataObjs(std::vector<VideoFrameAncillaryData>& list) const {
  list.insert(list.end(), ancillaryData.begin(), ancillaryData.end());
}

void FrameSideData::copyAncillaryData(const FrameSideData& other) {
  if (&other == this) return;
  other.getAncillaryDataObjs(ancillaryData);
}

}  // namespace qvs

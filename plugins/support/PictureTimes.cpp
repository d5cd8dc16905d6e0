// Timecodes of the pictures inside a codec, by their number.
#include "PictureTimes.h"

#include <algorithm>

namespace qvs::plugins {

void PictureTimes::fill(FrameInfo& info, int64_t presented, int64_t decoded) {
  const int64_t time = decoding(decoded);
  info.timecode = static_cast<uint64_t>(time);
  info.timecodeOffset = times[slot(presented)] - time;
}

// Frames ahead of the first picture's time are spread before it or, where that would lead below 0, between it and the
// second picture.
int64_t PictureTimes::decoding(int64_t number) {
  constexpr int64_t kStepMost = 10'000;  // a jump right behind the first picture is no rate to count back by
  if (leading < 0) {
    leading = std::max<int64_t>(0, -number);
    first = times[0];
    step = next > 1 ? std::clamp<int64_t>(times[1] - first, 0, kStepMost) : 0;
  }
  if (number > 0 || leading == 0) return times[slot(number)];
  if (first < leading * step) return first + step * (number + leading) / (leading + 1);
  return first + step * number;
}

}  // namespace qvs::plugins

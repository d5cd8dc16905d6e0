// Times of the frames under way, by their number.
#include "avc/AvcTimes.h"

#include <algorithm>

namespace qvs::mc {

int64_t AvcTimes::decoding(int64_t number) {
  if (!decided) {
    decided = true;
    leading = std::max<int64_t>(0, -number);
    first = times[0];
    // A jump right behind the first picture is no rate to count back by.
    second = first + std::clamp(times[1] - first, -kStepMost, kStepMost);
    squeezed = first < leading * (second - first);
  }
  if (number > 0 || leading == 0) return presentation(number);
  const int64_t step = second - first;
  return squeezed ? first + step * (number + leading) / (leading + 1) : first + step * number;
}

}  // namespace qvs::mc

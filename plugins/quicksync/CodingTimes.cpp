// Decoding times out of presentation times.
#include "CodingTimes.h"

namespace qvs::plugins {

void CodingTimes::start(uint32_t coderDelay, double pictureStep) {
  delay = coderDelay;
  step = pictureStep;
  added = given = 0;
}

uint64_t CodingTimes::next() {
  const uint64_t number = given++;
  return number <= delay ? leading(number) : entered[(number - delay) % kSlots];
}

// Ahead of the first picture's time or, where that would lead below 0, between it and the second picture's.
uint64_t CodingTimes::leading(uint64_t number) const {
  const auto ahead = static_cast<uint64_t>(step * static_cast<double>(delay) + 0.5);
  const uint64_t first = entered[0];
  if (first >= ahead) return first - static_cast<uint64_t>(step * static_cast<double>(delay - number) + 0.5);
  if (number == 0 || added < 2) return first;
  return first + (entered[1] - first) * number / (delay + 1);
}

}  // namespace qvs::plugins

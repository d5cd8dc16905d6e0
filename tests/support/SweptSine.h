#pragma once

#include <cstdint>
#include <vector>

namespace qvs::test {

/// A sine that rises from 20 to 16000 Hz at 0.9 of full scale, the same in all channels, interleaved.
std::vector<int16_t> sweptSine(uint32_t rate, double seconds, uint32_t channels);

/// How well `samples` are that sine at `rate`, decibels; the first channel without its edges of 10 ms.
double sweptSineSnr(const std::vector<int16_t>& samples, uint32_t rate, double seconds, uint32_t channels);

}  // namespace qvs::test

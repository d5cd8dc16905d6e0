// Planes of floating-point samples to interleaved 16 bits.
#include "audio/SampleWriter.h"

#include <cmath>

namespace qvs::mc {

namespace {

inline int16_t toSample(float value) {
  constexpr float kLow = -32768.0f;
  constexpr float kHigh = 32767.0f;
  const float scaled = value == value ? value * 32768.0f : 0.0f;
  const float limited = scaled < kLow ? kLow : scaled > kHigh ? kHigh : scaled;
  return static_cast<int16_t>(std::lrintf(limited));
}

void writeMono(const float* source, uint32_t samples, int16_t* target) {
  for (uint32_t i = 0; i < samples; ++i) target[i] = toSample(source[i]);
}

void writeStereo(const float* left, const float* right, uint32_t samples, int16_t* target) {
  for (uint32_t i = 0; i < samples; ++i) {
    target[2 * i] = toSample(left[i]);
    target[2 * i + 1] = toSample(right[i]);
  }
}

}  // namespace

void writeSamples(const float* const* planes, uint32_t channels, uint32_t samples, int16_t* target) {
  if (channels == 1) return writeMono(planes[0], samples, target);
  if (channels == 2) return writeStereo(planes[0], planes[1], samples, target);
  for (uint32_t channel = 0; channel < channels; ++channel) {
    for (uint32_t i = 0; i < samples; ++i) target[i * channels + channel] = toSample(planes[channel][i]);
  }
}

}  // namespace qvs::mc

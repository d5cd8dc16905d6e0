#include "support/SweptSine.h"

#include <cmath>
#include <numbers>

namespace qvs::test {

namespace {

constexpr double kFirst = 20, kLast = 16000;  // Hz
constexpr double kAmplitude = 0.9 * 32767;

double sweepAt(double time, double seconds) {
  const double phase = kFirst * time + (kLast - kFirst) * time * time / (2 * seconds);
  return kAmplitude * std::sin(2 * std::numbers::pi * phase);
}

}  // namespace

std::vector<int16_t> sweptSine(uint32_t rate, double seconds, uint32_t channels) {
  std::vector<int16_t> samples;
  const auto frames = static_cast<size_t>(rate * seconds);
  samples.reserve(frames * channels);
  for (size_t frame = 0; frame < frames; ++frame) {
    const auto sample = static_cast<int16_t>(std::lrint(sweepAt(static_cast<double>(frame) / rate, seconds)));
    samples.insert(samples.end(), channels, sample);
  }
  return samples;
}

double sweptSineSnr(const std::vector<int16_t>& samples, uint32_t rate, double seconds, uint32_t channels) {
  const size_t frames = samples.size() / channels;
  const size_t edge = rate / 100;
  double signal = 0, noise = 0;
  for (size_t frame = edge; frame + edge < frames; ++frame) {
    const double wanted = sweepAt(static_cast<double>(frame) / rate, seconds);
    const double error = samples[frame * channels] - wanted;
    signal += wanted * wanted;
    noise += error * error;
  }
  return 10 * std::log10(signal / noise);
}

}  // namespace qvs::test

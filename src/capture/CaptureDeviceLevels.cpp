// Loudness: of a block, of the last block, and the ring of points over time.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "capture/CaptureDeviceBase.h"
#include "frames/VideoFrameBufferSet.h"

namespace qvs {

namespace {

constexpr uint32_t kBytesPerSample = 2;
constexpr uint32_t kStereo = 2;
/// Hosts set the number of points: 64 million are 1 GB.
constexpr uint32_t kLevelPointsMax = 1u << 20;

int32_t sampleAt(const uint8_t* at) {
  int16_t sample;
  std::memcpy(&sample, at, sizeof sample);
  return sample;
}

int32_t averageOf(uint64_t sum, uint32_t sampleCount) {
  return static_cast<int32_t>(std::sqrt(static_cast<double>(sum) / sampleCount));
}

AudioLevelSingleChannelData levelOf(const uint8_t* first, uint32_t sampleCount, uint32_t channels) {
  uint64_t sum = 0;
  int32_t peak = 0;
  for (uint32_t i = 0; i < sampleCount; ++i, first += channels * kBytesPerSample) {
    const int32_t sample = std::abs(sampleAt(first));
    peak = std::max(peak, sample);
    sum += static_cast<uint64_t>(int64_t{sample} * sample);
  }
  return {.average = averageOf(sum, sampleCount), .peak = peak};
}

}  // namespace

void CaptureDeviceBase::calculateAudioLevels(const uint8_t* buffer, uint32_t sampleCount, uint32_t channels,
                                             uint32_t bytesPerSample, uint32_t, AudioLevelData* out) {
  const bool known = channels == kStereo && bytesPerSample == kBytesPerSample && sampleCount != 0;
  AudioLevelSingleChannelData left, right;
  if (known) {
    left = levelOf(buffer, sampleCount, channels);
    right = levelOf(buffer + kBytesPerSample, sampleCount, channels);
  }
  out->averageLeft = left.average;
  out->averageRight = right.average;
  out->peakLeft = left.peak;
  out->peakRight = right.peak;
}

void CaptureDeviceBase::calculateAudioLevelsAll(const uint8_t* buffer, uint32_t sampleCount,
                                                uint64_t timecode, uint32_t channels, uint32_t bytesPerSample,
                                                uint32_t, AudioLevelSingleChannelData* out) {
  if (channels > CaptureSessionInfoData::kChannelsMax) return;
  const bool known = bytesPerSample == kBytesPerSample && sampleCount != 0;
  // All channels in one pass, so that neighbours share a vector.
  std::array<uint64_t, CaptureSessionInfoData::kChannelsMax> sums{};
  std::array<int32_t, CaptureSessionInfoData::kChannelsMax> peaks{};
  for (uint32_t i = 0; known && i < sampleCount; ++i, buffer += size_t{channels} * kBytesPerSample) {
    for (uint32_t channel = 0; channel < channels; ++channel) {
      const int32_t sample = std::abs(sampleAt(buffer + channel * kBytesPerSample));
      peaks[channel] = std::max(peaks[channel], sample);
      sums[channel] += static_cast<uint32_t>(sample * sample);
    }
  }
  for (uint32_t channel = 0; channel < channels; ++channel) {
    out[channel] = {timecode, known ? averageOf(sums[channel], sampleCount) : 0, peaks[channel]};
  }
}

void CaptureDeviceBase::scaleAudio(uint8_t* buffer, uint32_t sampleCount, uint32_t channels,
                                   uint32_t bytesPerSample, uint32_t, double gainDb) {
  if (channels != kStereo || bytesPerSample != kBytesPerSample) return;
  const auto factor = static_cast<float>(std::pow(10, std::clamp(gainDb, -200.0, 200.0) / 20));
  for (size_t i = 0; i < size_t{sampleCount} * channels; ++i, buffer += kBytesPerSample) {
    const float scaled = static_cast<float>(sampleAt(buffer)) * factor;
    const auto sample = static_cast<int16_t>(std::clamp(scaled, -32767.0f, 32767.0f));
    buffer[0] = static_cast<uint8_t>(sample & 0xFF);
    buffer[1] = static_cast<uint8_t>((sample >> 8) & 0xFF);
  }
}

void CaptureDeviceBase::allocaleAudioLevelData() {
  const ScopedLock guard(*lock);
  audioLevelDataCount = 0;
  audioLevelAverageData.assign(audioLevelTotalDataPoints, 0);
  audioLevelPeakData.assign(audioLevelTotalDataPoints, 0);
  audioLevelTimecodeData.assign(audioLevelTotalDataPoints, 0);
}

void CaptureDeviceBase::setAudioLevelTotalDataPoints(uint32_t value) {
  const ScopedLock guard(*lock);
  audioLevelTotalDataPoints = std::min(value, kLevelPointsMax);
  allocaleAudioLevelData();
}

void CaptureDeviceBase::addAudioLevelData(uint64_t timecode, int32_t average, int32_t peak) {
  const ScopedLock guard(*lock);
  if (audioLevelTotalDataPoints == 0) return;
  const auto at = static_cast<size_t>(audioLevelDataCount++ % audioLevelTotalDataPoints);
  audioLevelTimecodeData[at] = timecode;
  audioLevelAverageData[at] = average;
  audioLevelPeakData[at] = peak;
}

uint32_t CaptureDeviceBase::getAudioLevelData(uint64_t* timecodes, int32_t* average, int32_t* peak,
                                              uint32_t* count, uint64_t* sampleId) {
  const ScopedLock guard(*lock);
  auto n = static_cast<uint32_t>(std::min<uint64_t>(audioLevelTotalDataPoints, audioLevelDataCount));
  if (count != nullptr) *count = n = std::min(n, *count);
  // Counted from the end of the ring, not from where it is written: hosts know that.
  const uint32_t start = audioLevelTotalDataPoints - n;
  if (sampleId != nullptr) *sampleId = start;
  if (average == nullptr || peak == nullptr) return kSuccess;
  for (uint32_t i = 0; i < n; ++i) {
    const uint32_t at = start + i;
    if (timecodes != nullptr) timecodes[i] = audioLevelTimecodeData[at];
    average[i] = audioLevelAverageData[at];
    peak[i] = audioLevelPeakData[at];
  }
  return kSuccess;
}

void CaptureDeviceBase::setAudioLastAllLevelData(const AudioLevelSingleChannelData* data, uint32_t count) {
  const ScopedLock guard(*lock);
  audioLastAllLevelDataCount = std::min(count, CaptureSessionInfoData::kChannelsMax);
  std::copy_n(data, audioLastAllLevelDataCount, audioLastAllLevelData.begin());
}

uint32_t CaptureDeviceBase::getAudioLastAllLevelData(AudioLevelSingleChannelData* data, uint32_t* count) {
  const ScopedLock guard(*lock);
  *count = std::min(*count, audioLastAllLevelDataCount);
  std::copy_n(audioLastAllLevelData.begin(), *count, data);
  return kSuccess;
}

void CaptureDeviceBase::clearAudioLastAllLevelData() {
  writeLocked(audioLastAllLevelDataCount, 0u);
}

}  // namespace qvs

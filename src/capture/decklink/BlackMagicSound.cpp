// Sound from a card.
#include "capture/decklink/BlackMagicSound.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "capture/CaptureUtils.h"
#include "log/LogGlobalLogger.h"

namespace qvs {
namespace {

constexpr uint32_t kOutBytes = 2;     ///< of a sample that comes out
constexpr long kSamplesMax = 192000;  ///< of a packet
constexpr uint32_t kMissedUntilTold = 3;

/// The two wanted channels, their upper 16 bits.
void pickChannels(const uint8_t* packet, uint32_t samples, uint32_t channels, uint32_t bytesPerSample,
                  const CaptureDeviceAudioChannelMap& map, uint8_t* out) {
  const size_t step = size_t{channels} * bytesPerSample, upper = bytesPerSample - kOutBytes;
  const uint8_t* left = packet + size_t{map.left} * bytesPerSample + upper;
  const uint8_t* right = packet + size_t{map.right} * bytesPerSample + upper;
  for (uint32_t i = 0; i < samples; ++i, left += step, right += step, out += 2 * kOutBytes) {
    std::memcpy(out, left, kOutBytes);
    std::memcpy(out + kOutBytes, right, kOutBytes);
  }
}

}  // namespace

void BlackMagicSound::setCapture(uint32_t channels, uint32_t bytes, uint32_t rate) {
  captureChannels = channels;
  bytesPerSample = bytes;
  sampleRate = rate;
}

bool BlackMagicSound::deliver(IDeckLinkAudioInputPacket& packet, int64_t firstSample,
                              CaptureDeviceAudioChannelMap map) {
  void* bytes = nullptr;
  const long count = packet.GetSampleFrameCount();
  if (count <= 0 || count > kSamplesMax || firstSample < 0 || captureChannels == 0) return false;
  if (packet.GetBytes(&bytes) != S_OK || bytes == nullptr) return false;
  if (missed >= kMissedUntilTold) {
    sendSilence(firstSample);
    loggerOrGlobal(device.getLogger())->info("BlackMagicSound.deliver[{context}]: The card's sound is back");
  }
  missed = 0;
  const auto samples = static_cast<uint32_t>(count);
  CaptureFrame* const frame = device.createCaptureFrameAudio(samples, kChannels, sampleRate);
  if (frame == nullptr) return false;
  if (map.left >= captureChannels) map.left = 0;
  if (map.right >= captureChannels) map.right = 0;
  const auto* given = static_cast<const uint8_t*>(bytes);
  uint8_t* const stereo = frame->getAudioSampleBuffer()->getBuffer();
  pickChannels(given, samples, captureChannels, bytesPerSample, map, stereo);
  const double gain = device.getVolumeLevel();
  if (gain != 0) CaptureDeviceBase::scaleAudio(stereo, samples, kChannels, kOutBytes, sampleRate, gain);
  measure(given, stereo, samples, static_cast<uint64_t>(firstSample) * 1000 / sampleRate);
  send(frame, firstSample);
  nextSample = firstSample + count;
  return true;
}

void BlackMagicSound::measure(const uint8_t* packet, const uint8_t* stereo, uint32_t samples,
                              uint64_t milliseconds) {
  allLevelsThere = captureChannels <= CaptureSessionInfoData::kChannelsMax;
  CaptureDeviceBase::calculateAudioLevelsAll(packet, samples, milliseconds, captureChannels, bytesPerSample,
                                             sampleRate, allLevels.data());
  if (audioLevelDataCachePos == kCacheMax) return;
  AudioLevelData& levels = audioLevelDataCache[audioLevelDataCachePos++];
  CaptureDeviceBase::calculateAudioLevels(stereo, samples, kChannels, kOutBytes, sampleRate, &levels);
  levels.timecode = milliseconds;
}

void BlackMagicSound::miss(int64_t until) {
  if (captureChannels == 0 || ++missed < kMissedUntilTold) return;
  if (missed == kMissedUntilTold) {
    loggerOrGlobal(device.getLogger())
        ->warn("BlackMagicSound.miss[{context}]: The card sends no sound: silence takes its place");
  }
  allLevelsThere = false;
  sendSilence(until);
  nextSample = until;
}

void BlackMagicSound::sendSilence(int64_t until) {
  const int64_t from = nextSample;
  // Without sound before there is nothing to go on from; and a jump of the clock is no gap to fill.
  if (from < 0 || until <= from || until - from > int64_t{sampleRate} * 2) return;
  const auto samples = static_cast<uint32_t>(until - from);
  CaptureFrame* const frame = device.createCaptureFrameAudio(samples, kChannels, sampleRate);
  if (frame == nullptr) return;
  std::memset(frame->getAudioSampleBuffer()->getBuffer(), 0, size_t{samples} * kChannels * kOutBytes);
  send(frame, from);
}

void BlackMagicSound::send(CaptureFrame* frame, int64_t firstSample) {
  frame->getAudioSampleBuffer()->setTimecode(static_cast<uint64_t>(firstSample));
  if (device.addCaptureFrameToFrameSinks(frame) == 0) CaptureUtils::deleteCaptureFrame(frame);
}

bool BlackMagicSound::takeLevels(uint64_t videoMilliseconds, AudioLevelData* levels) {
  const auto count = static_cast<int32_t>(std::exchange(audioLevelDataCachePos, 0u));
  if (count == 0) return false;
  *levels = {.timecode = videoMilliseconds};
  for (int32_t i = 0; i < count; ++i) {
    const AudioLevelData& one = audioLevelDataCache[static_cast<size_t>(i)];
    levels->averageLeft += one.averageLeft;
    levels->averageRight += one.averageRight;
    levels->peakLeft = std::max(levels->peakLeft, one.peakLeft);
    levels->peakRight = std::max(levels->peakRight, one.peakRight);
  }
  levels->averageLeft /= count;
  levels->averageRight /= count;
  return true;
}

}  // namespace qvs

#pragma once

#include <array>

#include "capture/decklink/BlackMagicCaptureState.h"

namespace qvs {

/// A card's sound: picks the two channels, changes the volume, measures levels, delivers. One thread.
class BlackMagicSound {
 public:
  static constexpr uint32_t kChannels = 2;  ///< that come out

  explicit BlackMagicSound(BlackMagicCaptureState& device) : device(device) {}

  /// What was enabled.
  void setCapture(uint32_t channels, uint32_t bytesPerSample, uint32_t sampleRate);
  bool isEnabled() const { return captureChannels != 0; }

  /// `firstSample` is its place in the system's time. False where the packet can't be used.
  bool deliver(IDeckLinkAudioInputPacket& packet, int64_t firstSample, CaptureDeviceAudioChannelMap map);
  /// A picture came without sound: from the third on silence takes its place, up to sample `until`.
  void miss(int64_t until);

  // Of the last packet.
  uint32_t getChannelCount() const { return captureChannels; }
  const std::array<AudioLevelSingleChannelData, CaptureSessionInfoData::kChannelsMax>& getAllLevels() const {
    return allLevels;
  }
  bool hasAllLevels() const { return allLevelsThere; }
  /// Levels since the last call, for the picture's time; false where there were none.
  bool takeLevels(uint64_t videoMilliseconds, AudioLevelData* levels);

 private:
  static constexpr uint32_t kCacheMax = 4;

  void measure(const uint8_t* packet, const uint8_t* stereo, uint32_t samples, uint64_t milliseconds);
  /// From where the sound ended.
  void sendSilence(int64_t until);
  void send(CaptureFrame* frame, int64_t firstSample);

  BlackMagicCaptureState& device;
  uint32_t captureChannels = 0;
  uint32_t bytesPerSample = 2;
  uint32_t sampleRate = 48000;
  int64_t nextSample = -1;  ///< where the last block ended
  uint32_t missed = 0;      ///< pictures in a row without sound
  std::array<AudioLevelData, kCacheMax> audioLevelDataCache;
  uint32_t audioLevelDataCachePos = 0;
  std::array<AudioLevelSingleChannelData, CaptureSessionInfoData::kChannelsMax> allLevels{};
  bool allLevelsThere = false;
};

}  // namespace qvs

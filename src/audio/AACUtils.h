#pragma once

#include <mc_enc_aac.h>

#include <cstdint>

namespace qvs {

/// Tables of AAC and the two small headers that carry its format: the AudioSpecificConfig of containers and
/// the ADTS header in front of a frame.
class AACUtils {
 public:
  static constexpr uint32_t kADTSHeaderSize = 7;
  static constexpr uint32_t kMaxADTSFrame = 8191;

  /// Hz by sampling frequency index.
  static constexpr uint32_t AAC_SAMPLERATES[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                 22050, 16000, 12000, 11025, 8000,  7350};

  /// Channels by channel configuration; 0: the stream itself tells.
  static constexpr uint32_t AAC_CHANNELS[] = {0, 1, 2, 3, 4, 5, 6, 8};

  /// kbit/s by an encoder's bit rate index.
  static constexpr const auto& AAC_ENC_BITRATES = AAC_AUDIO_BITRATES;

  /// Hz; 0 for an index that has no rate.
  static uint32_t sampleRateOf(uint32_t rateIndex);

  /// 2 for a configuration past the table.
  static uint32_t channelsOf(uint32_t channelConfig);

  /// The last bit rate not above `kilobitsPerSecond`.
  static uint32_t encoderBitrateToIndex(uint32_t kilobitsPerSecond);

  /// Reads the first two bytes of an AudioSpecificConfig as they stand; escapes aren't followed. False, with
  /// nothing written, for less than two bytes.
  static bool decodeCodecConfig(const uint8_t* buffer, uint32_t offset, uint32_t len, uint32_t& objectType,
                                uint32_t& rateIndex, uint32_t& channelConfig);

  /// Writes an ADTS header of kADTSHeaderSize bytes at `offset`. `frameLength` counts header and frame; each
  /// value keeps the bits that its field has.
  static void encodeDTSHeader(uint8_t* buffer, uint32_t offset, uint32_t objectType, uint32_t rateIndex,
                              uint32_t channelConfig, uint32_t protectionAbsent, uint32_t frameLength);
};

}  // namespace qvs

// AAC's tables of rates and channels, the AudioSpecificConfig and the ADTS header.
#include "audio/AACUtils.h"

#include <algorithm>
#include <iterator>

namespace qvs {

uint32_t AACUtils::sampleRateOf(uint32_t rateIndex) {
  return rateIndex < std::size(AAC_SAMPLERATES) ? AAC_SAMPLERATES[rateIndex] : 0;
}

uint32_t AACUtils::channelsOf(uint32_t channelConfig) {
  return channelConfig < std::size(AAC_CHANNELS) ? AAC_CHANNELS[channelConfig] : 2;
}

uint32_t AACUtils::encoderBitrateToIndex(uint32_t kilobitsPerSecond) {
  const auto above =
      std::upper_bound(std::begin(AAC_ENC_BITRATES), std::end(AAC_ENC_BITRATES), kilobitsPerSecond);
  return static_cast<uint32_t>(above - std::begin(AAC_ENC_BITRATES)) - 1;
}

bool AACUtils::decodeCodecConfig(const uint8_t* buffer, uint32_t offset, uint32_t len, uint32_t& objectType,
                                 uint32_t& rateIndex, uint32_t& channelConfig) {
  if (buffer == nullptr || len < 2) return false;
  const uint32_t first = buffer[offset];
  const uint32_t second = buffer[offset + size_t{1}];
  objectType = first >> 3;
  rateIndex = (first & 7) << 1 | second >> 7;
  channelConfig = second >> 3 & 15;
  return true;
}

void AACUtils::encodeDTSHeader(uint8_t* buffer, uint32_t offset, uint32_t objectType, uint32_t rateIndex,
                               uint32_t channelConfig, uint32_t protectionAbsent, uint32_t frameLength) {
  uint8_t* header = buffer + offset;
  header[0] = 0xFF;
  header[1] = protectionAbsent != 0 ? 0xF1 : 0xF0;
  header[2] =
      static_cast<uint8_t>((objectType - 1) << 6 | (rateIndex << 2 & 0x3C) | (channelConfig >> 2 & 1));
  header[3] = static_cast<uint8_t>(channelConfig << 6 | (frameLength >> 11 & 3));
  header[4] = static_cast<uint8_t>(frameLength >> 3);
  header[5] = static_cast<uint8_t>(frameLength << 5 | 31);
  header[6] = 0xFC;
}

}  // namespace qvs

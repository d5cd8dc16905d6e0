#pragma once

#include <cstdint>

#include "session/jni/records/CommonRecords.h"

// Java records of the audio calls, one table each.

namespace qvs {

struct JavaAudioFrame {
  uint64_t timecode = 0;  ///< samples
  uint32_t sampleRate = 0;
  uint32_t channels = 0;
  uint32_t sampleCount = 0;
};
inline constexpr JavaRecord<JavaAudioFrame, 5> kAudioFrame{
    nullptr,
    {{{"timecode", "J", &JavaAudioFrame::timecode},
      {"sampleRate", "J", &JavaAudioFrame::sampleRate},
      {"channels", "J", &JavaAudioFrame::channels},
      {"sampleCount", "J", &JavaAudioFrame::sampleCount},
      {"buffer", "[B"}}}};

struct JavaResamplerParameters {
  uint32_t sampleRate = 0;
  uint32_t channels = 0;
  uint64_t channelMaskSrc = 0;
  uint64_t channelMaskDst = 0;
};
inline constexpr JavaRecord<JavaResamplerParameters, 4> kResamplerParameters{
    nullptr,
    {{{"sampleRate", "J", &JavaResamplerParameters::sampleRate},
      {"channels", "J", &JavaResamplerParameters::channels},
      {"channelMaskSrc", "J", &JavaResamplerParameters::channelMaskSrc},
      {"channelMaskDst", "J", &JavaResamplerParameters::channelMaskDst}}}};

struct JavaAudioPacket {
  uint32_t len = 0;
  uint32_t type = 0;
  uint64_t timecode = 0;  ///< samples
  uint32_t frameType = 0;
  uint32_t sampleRate = 0;
  uint32_t channels = 0;
};
inline constexpr JavaRecord<JavaAudioPacket, 7> kAudioPacket{
    kPacketClass,
    {{{"buffer", "[B"},
      {"len", "J", &JavaAudioPacket::len},
      {"type", "I", &JavaAudioPacket::type},
      {"timecode", "J", &JavaAudioPacket::timecode},
      {"frameType", "I", &JavaAudioPacket::frameType},
      {"sampleRate", "I", &JavaAudioPacket::sampleRate},
      {"channels", "I", &JavaAudioPacket::channels}}}};

}  // namespace qvs

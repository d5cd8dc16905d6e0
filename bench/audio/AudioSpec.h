#pragma once

#include <cstdint>

namespace qvs::bench {

// Opus of 48 kHz stereo in; AAC at another rate, and Opus again, out.

inline constexpr uint32_t kChannels = 2;
inline constexpr uint32_t kSourceRate = 48000;  ///< Hz
inline constexpr uint32_t kPacketMs = 20;       ///< of a packet in and of one out
inline constexpr uint32_t kAacRate = 44100;     ///< Hz
inline constexpr uint32_t kAacBitrate = 128000;
inline constexpr uint32_t kAacFrame = 1024;  ///< samples
inline constexpr uint32_t kOpusBitrate = 96000;

}  // namespace qvs::bench

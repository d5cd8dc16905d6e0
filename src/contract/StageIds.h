#pragma once

#include <cstdint>

namespace qvs {

/// Decoder type that reads from a capture device; every other value is a coded stream.
inline constexpr uint32_t kDecoderTypeCapture = 1;

enum VideoCodecId : uint32_t {
  kVideoCodecSorenson = 2,
  kVideoCodecH264 = 7,
  kVideoCodecVPX = 8,  ///< the codec version tells VP8 from VP9
  kVideoCodecH263 = 9,
  kVideoCodecMP4 = 10,
  kVideoCodecMPEG2 = 11,
  kVideoCodecH265 = 12,
  kVideoCodecRaw = 100,  ///< an extension: pictures that come decoded
};

enum AudioCodecId : uint32_t {
  kAudioCodecMPEG = 2,
  kAudioCodecALaw = 7,
  kAudioCodecMULaw = 8,
  kAudioCodecVorbis = 9,
  kAudioCodecAAC = 10,
  kAudioCodecSpeex = 11,
  kAudioCodecOpus = 12,
  kAudioCodecPCM = 100,  ///< an extension: samples that come decoded
};

}  // namespace qvs

#pragma once

#include "audio/AudioDecoderBase.h"

namespace qvs {

/// Samples that come decoded: interleaved signed 16-bit ones in the machine's byte order. The configuration
/// tells rate (Hz) and channel count, both in four bytes, least significant first; channels come in the order
/// of the resampler's default mask for their count.
///
/// A packet has any number of whole sample frames. What is left over behind them is refused with a line.
class AudioDecoderPCM : public AudioDecoderBase {
 public:
  AudioDecoderPCM();

  /// A configuration that is refused leaves the one before at work; a good one takes effect at once.
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;

  /// A block that is too small for the packet grows.
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;
  uint32_t close() override;

 private:
  bool configured = false;
};

}  // namespace qvs

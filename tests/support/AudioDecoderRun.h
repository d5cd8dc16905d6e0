#pragma once

#include <memory>
#include <string>
#include <vector>

#include "audio/IAudioDecoder.h"
#include "frames/AudioSampleBuffer.h"
#include "support/AudioFile.h"

namespace qvs::test {

/// The decoder that a session would make for libavcodec's `codec`; null where there is none.
std::unique_ptr<IAudioDecoder> makeAudioDecoder(const std::string& codec);

/// Drives one decoder the way a server does, with a block that is used again and again.
class AudioDecoderRun {
 public:
  explicit AudioDecoderRun(std::unique_ptr<IAudioDecoder> decoder);

  /// Set-up, configuration and first frame. False where one of them fails.
  bool open(const AudioFile& file);

  /// One packet, copied so that a read past its end is one. What the decoder answers; sound goes to
  /// `samples`.
  uint32_t feed(std::span<const uint8_t> packet, uint64_t timecodeMs);
  void feedAll(const AudioFile& file);

  IAudioDecoder& decoder() { return *stage; }
  AudioSampleBuffer& block() { return out; }
  std::vector<int16_t> samples;   ///< interleaved
  std::vector<uint32_t> counts;   ///< samples a channel of each packet
  std::vector<uint64_t> codes;    ///< timecode of each block
  std::vector<uint32_t> results;  ///< what each packet was answered with

 private:
  std::unique_ptr<IAudioDecoder> stage;
  AudioSampleBuffer out;
};

}  // namespace qvs::test

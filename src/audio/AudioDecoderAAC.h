#pragma once

#include <span>
#include <vector>

#include "audio/AudioDecoderBufferStream.h"

namespace qvs {

/// A frame's place in time and its format, until its block comes out.
struct AudioDecoderAACDelayInfo {
  static constexpr uint64_t kNone = ~uint64_t{0};

  uint64_t timecode = kNone;  ///< milliseconds
  uint32_t sampleRate = 0;    ///< Hz
  uint32_t channels = 0;
};

/// AAC: LC, Main, LTP and, in the same frames, HE and HE v2. Frames come bare, with 7 bytes free in front,
/// where this class writes the header that the library wants; their format comes by `decodeCodecConfig`.
///
/// Blocks carry the rate and channels that really come out: twice the configured rate for HE, two channels
/// for HE v2. Object types and frame lengths that the header can't name are refused.
class AudioDecoderAAC : public AudioDecoderBufferStream {
 public:
  AudioDecoderAAC();

  using AudioDecoderBufferStream::setDecodeParameters;

  uint32_t setDecodeParameters(int32_t sampleRate, int32_t channels, uint32_t format) override;
  uint32_t initialize() override;
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;
  uint32_t getDecodeFrameHeaderSize() override;
  uint32_t getChannels() override;
  int32_t getSampleRate() override;
  uint32_t getSamplesPerFrame() override { return 1024; }

 private:
  std::span<uint8_t> frameOf(uint8_t* buffer, uint32_t offset, uint32_t len);
  uint32_t decodeBytes(std::span<uint8_t> bytes, AudioSampleBuffer& out);
  void noteHeader();
  void forgetFrame();
  AudioDecoderAACDelayInfo takeDelayed();
  uint32_t finish(AudioSampleBuffer& out);

  aac_decoder_config aacConfig{};
  uint32_t aacOT = 0;                  ///< audio object type
  uint32_t aacSR = 0;                  ///< sampling frequency index
  uint32_t aacCH = 0;                  ///< channel configuration, as reported
  uint32_t headerObjectType = 0;       ///< for the frames' headers; 0: none can be written
  uint32_t headerChannelConfig = 0;    ///< the stream's own, whatever is reported
  std::vector<uint8_t> layoutElement;  ///< for in front of each frame's data; empty: the header's field tells
  std::vector<uint8_t> layoutFrame;    ///< a frame with it
  AudioDecoderAACDelayInfo timecodeDelay[2];  ///< frames still in the library, the latest first
  uint32_t timecodeSampleRate = 0;            ///< of the last block
  uint32_t timecodeChannels = 0;
};

}  // namespace qvs

#pragma once

#include "audio/AudioDecoderBufferStream.h"

namespace qvs {

/// MPEG audio: layers I, II and III of MPEG-1, MPEG-2 and MPEG-2.5. A call's bytes may hold several frames,
/// which make one block, and a frame's bytes may be split over calls.
class AudioDecoderMP2 : public AudioDecoderBufferStream {
 public:
  /// Hz by row (0 MPEG-2, 1 MPEG-1, 2 MPEG-2.5) and the rate index of a frame's header; 1: reserved.
  static constexpr uint32_t MP2_SAMPLERATES[3][4] = {
      {22050, 24000, 16000, 1}, {44100, 48000, 32000, 1}, {11025, 12000, 8000, 1}};

  AudioDecoderMP2();

  using AudioDecoderBufferStream::setDecodeParameters;

  uint32_t setDecodeParameters(int32_t sampleRate, int32_t channels, uint32_t format) override;
  uint32_t initialize() override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;

 private:
  void readFormat(const uint8_t* bytes);
  void takeFormat(const mc_aud_frame_hdr_t& header);
  uint32_t gatherBlock(std::span<uint8_t> bytes, AudioSampleBuffer& out);
  uint32_t addFrame(AudioSampleBuffer& out, uint32_t position);
  uint64_t blockTimecode(uint64_t timecode, bool frameWasBegun) const;

  mpa_decoder_config mpa_config{};
  uint64_t lastTimecode = ~uint64_t{0};  ///< milliseconds, as given; all ones before the first
  uint32_t countedSampleRate = 0;        ///< Hz of the running count
  bool frameBegun = false;               ///< the library holds a frame's first bytes
  bool targetAnnounced = false;
};

}  // namespace qvs

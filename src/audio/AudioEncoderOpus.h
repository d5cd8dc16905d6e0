#pragma once

#include <opus.h>

#include <memory>
#include <vector>

#include "audio/AudioEncoderBase.h"
#include "audio/AudioFrameAssembler.h"
#include "contract/StageIds.h"
#include "frames/AudioFrameEncoded.h"
#include "platform/ParameterTable.h"

namespace qvs {

/// Opus by libopus: an identification header as in Ogg, then bare packets of 20 ms, mono or stereo.
///
/// A packet's timecode is that of its first sample of input. The codec looks ahead: what a decoder gives from
/// a packet lies `lookahead` samples (6.5 ms) before the packet's own input, so that a packet's audio starts
/// at its timecode less the lookahead. A container that keeps a pre-skip (Ogg, WebM, MP4) takes it there, and
/// the audio is in place; the header names it where key 190001 asks for that, else it says 0.
///
/// Keys: 190000 (double) `gain`, dB, for the header; 190001 (long) `preSkip`: set to non-zero before
/// `initialize`, the header carries the pre-skip; get gives its samples at 48 kHz, 0 until the encoder is
/// open.
class AudioEncoderOpus : public WithParameters<AudioEncoderOpus, AudioEncoderBase> {
 public:
  static constexpr uint32_t kKeyGain = 190000;
  static constexpr uint32_t kKeyPreSkip = 190001;

  AudioEncoderOpus() { codec = kAudioCodecOpus; }
  ~AudioEncoderOpus() override;

  uint32_t initialize() override;
  uint32_t getHeaders(std::vector<AudioFrameEncoded>& out) override;
  uint32_t addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) override;
  uint32_t close() override;
  static const ParameterRow<AudioEncoderOpus>* parameterOf(uint32_t key);

 private:
  struct Destroy {
    void operator()(OpusEncoder* encoder) const { opus_encoder_destroy(encoder); }
  };

  void openEncoder();
  bool addHeader();
  void encode(const AudioFrameAssembler::Frame& frame, std::vector<AudioFrameEncoded>& out);
  void closeEncoder();

  double sampleDuration = 20.0;            ///< ms of a packet
  std::vector<AudioFrameEncoded> headers;  ///< owned
  AudioFrameAssembler assembler;
  std::unique_ptr<OpusEncoder, Destroy> encoder;
  std::unique_ptr<uint8_t[]> bufferFrame;  ///< one packet
  double gain = 0.0;                       ///< dB
  uint32_t preSkip = 0;                    ///< samples at 48 kHz
  bool preSkipInHeader = false;
};

}  // namespace qvs

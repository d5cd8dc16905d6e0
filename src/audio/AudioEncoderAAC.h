#pragma once

#include <mc_callbacks.h>
#include <mc_enc_aac.h>

#include <vector>

#include "audio/AudioEncoderBase.h"
#include "audio/AudioEncoderBufferStream.h"
#include "audio/AudioFrameAssembler.h"
#include "platform/ParameterTable.h"

namespace qvs {

/// AAC by the codec library's encoder. A coded frame starts with an ADTS header by default, and its timecode
/// is that of its first sample of input: a decoder's output of the nth frame is the nth frame of input. (The
/// very first one fades in, since there is none before it to overlap with.) A frame comes out when the two
/// behind it have gone in.
///
/// Keys 40000 to 40017, long values, are the library's settings by name; `channelCopy` (40007) puts the left
/// (1) or the right channel (another number but 0) of stereo on both sides. They take effect at `initialize`,
/// which sets `bits_per_sample`, `input_channels` and `audio_bitrate_index` itself.
class AudioEncoderAAC : public WithParameters<AudioEncoderAAC, AudioEncoderBase> {
 public:
  static constexpr uint32_t kSettingsRefused = 0xFFFFFFFEu;  ///< `initialize`: the library won't serve them
  static constexpr uint32_t kNoEncoder = 0xFFFFFFFDu;        ///< `initialize`: no instance
  static constexpr uint32_t kNotOpened = 0xFFFFFFFCu;        ///< `initialize`: the instance doesn't open

  AudioEncoderAAC();
  ~AudioEncoderAAC() override;

  uint32_t initialize() override;
  uint32_t getHeaders(std::vector<AudioFrameEncoded>&) override { return 0; }
  uint32_t addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) override;
  uint32_t close() override;
  static const ParameterRow<AudioEncoderAAC>* parameterOf(uint32_t key);

 private:
  void checkSampleRate() const;
  void limitBitrate();
  uint32_t openEncoder();
  uint32_t refuse(const char* call, uint32_t result);
  void closeEncoder();
  void stampStream(const AudioSampleBuffer& block);
  void encode(const AudioFrameAssembler::Frame& frame);

  uint8_t firstEncode = 1;
  AudioFrameAssembler assembler;
  aac_a_settings encodesettings{};
  aacaenc_tt* aenc = nullptr;
  AudioEncoderBufferStream bufferStream;
  uint32_t timecodeDivisor = 1;
  uint32_t channelCopy = 0;
  std::vector<uint8_t> tmpChannelCopyBuffer;
  mc_callbacks_t callbacks;
};

}  // namespace qvs

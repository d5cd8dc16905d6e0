#pragma once

#include <mc_audio.h>
#include <mc_callbacks.h>
#include <mc_decoder_codes.h>

#include <cstdint>
#include <span>
#include <vector>

#include "audio/AudioDecoderBase.h"
#include "bufstream/BufStreamDecoder.h"
#include "platform/ParameterTable.h"

namespace qvs {

/// What the decoders share that drive a codec library through a stream record: bytes are fed, blocks come out
/// into the sample buffer announced, states and headers are asked for.
///
/// Keys (integers): 0 `scaleChannels`: 2 makes two channels of one, any other value changes nothing; 1
/// `scaleSampleRate`: kept, without effect.
class AudioDecoderBufferStream : public WithParameters<AudioDecoderBufferStream, AudioDecoderBase> {
 public:
  static constexpr uint32_t kKeyScaleChannels = 0;
  static constexpr uint32_t kKeyScaleSampleRate = 1;

  uint32_t close() override;
  static const ParameterRow<AudioDecoderBufferStream>* parameterOf(uint32_t key);

 protected:
  /// `className` in log lines; a literal.
  explicit AudioDecoderBufferStream(const char* className) : name(className) {}

  bool wantsStereo() const { return scaleChannels == 2; }

  /// Header of the last frame, null before the first. The library's.
  const mc_aud_frame_hdr_t* frameHeader() { return decoder.ask<const mc_aud_frame_hdr_t>(GET_PIC_PARAMSP); }

  /// Names `dst_bfr` as the place of all blocks to come.
  void announceTarget() { decoder.send(PARSE_FRAMES, 0, &dst_bfr, sizeof dst_bfr); }

  /// Feeds bytes up to the end of the next frame and answers how many. Its block goes to byte `position` of
  /// `out`, which grows where it must, and `parseState` and `dst_bfr.bfr_size` tell what came.
  uint32_t feed(std::span<uint8_t> bytes, AudioSampleBuffer& out, uint32_t position);

  /// Makes two channels of the one of the block just fed, where that is wanted. Answers the channels.
  uint32_t scaleBlock(const mc_aud_frame_hdr_t& header, AudioSampleBuffer& out, uint32_t position);

  /// Logs a failure of `method` and answers kFailure; the second form marks `out` as empty too.
  uint32_t fail(const char* method, const char* text) const;
  uint32_t fail(const char* method, const char* text, AudioSampleBuffer& out) const;
  static void markEmpty(AudioSampleBuffer& out);

  BufStreamDecoder decoder{kFinishAtEnd};
  callbacks_t callbacks{};
  aud_bfr_tt dst_bfr{};
  uint32_t parseState = 0;

 private:
  static constexpr int32_t kFinishAtEnd = 0;

  void offerRoom(AudioSampleBuffer& out, uint32_t position);
  bool grow(AudioSampleBuffer& out, uint32_t kept, uint64_t bytes, uint32_t channels, uint32_t rate);

  const char* name;
  uint32_t scaleChannels = 0;
  uint32_t scaleSampleRate = 0;      ///< Hz
  std::vector<uint8_t> scaleBuffer;  ///< what a sample buffer held while it grows
};

}  // namespace qvs

#pragma once

#include <opus/opus.h>

#include <memory>

#include "audio/AudioDecoderBase.h"
#include "platform/IConcurrentLock.h"

namespace qvs {

/// Mono and stereo Opus by libopus. The configuration is an OpusHead record; audio comes at the rate that it
/// names where libopus decodes to that rate, else at 48000 Hz. The head's output gain is applied. Its
/// pre-skip is not: the first blocks hold the encoder's lead-in, and block timecodes follow the incoming
/// ones.
class AudioDecoderOpus : public AudioDecoderBase {
 public:
  AudioDecoderOpus();
  ~AudioDecoderOpus() override;

  /// Once the first frame has been seen, a head that changes the format takes effect at once.
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;

  /// A block that is too small for the packet grows.
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;
  uint32_t close() override;

 private:
  struct DecoderDestroy {
    void operator()(OpusDecoder* decoder) const { opus_decoder_destroy(decoder); }
  };
  struct Head {
    uint32_t sampleRate = 0;  ///< Hz, of the encoder's input; 0 where it didn't tell
    uint32_t channels = 0;    ///< 0 until a head has come
    int32_t gain = 0;         ///< 1/256 dB
  };

  uint32_t openDecoder();

  std::unique_ptr<IConcurrentLock> lock;  ///< guards `decoder`
  std::unique_ptr<OpusDecoder, DecoderDestroy> decoder;
  Head head;
  Head opened;  ///< what `decoder` was made for; its rate is the one that libopus decodes to
};

}  // namespace qvs

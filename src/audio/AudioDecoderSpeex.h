#pragma once

#include <speex/speex.h>

#include <memory>

#include "audio/AudioDecoderBase.h"
#include "platform/IConcurrentLock.h"

namespace qvs {

/// Wideband Speex by libspeex: mono at 16000 Hz, any number of frames in a packet. Bare packets are taken for
/// wideband. A stream header, as configuration or among the packets, is read for its mode only: a narrowband
/// stream is refused with one line, and its packets fail until another header comes. Of an ultra-wideband
/// stream the wideband part is decoded.
class AudioDecoderSpeex : public AudioDecoderBase {
 public:
  static constexpr uint32_t kSampleRate = 16000;  ///< Hz

  AudioDecoderSpeex();
  ~AudioDecoderSpeex() override;

  uint32_t initialize() override;
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;

  /// A block without room for one frame gives no audio; any other grows to what the packet holds.
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;

 private:
  uint32_t readHeader(const uint8_t* header);
  uint32_t decodePacket(AudioSampleBuffer& out);
  bool hasRoom(AudioSampleBuffer& out, uint32_t sampleCount);
  void release();

  std::unique_ptr<IConcurrentLock> lock;  ///< guards `state` and `bits`
  void* state = nullptr;                  ///< null until `initialize`
  SpeexBits bits{};                       ///< valid while `state` is there
  int frame_size = 0;                     ///< samples
  bool refused = false;                   ///< the last header named another mode
};

}  // namespace qvs

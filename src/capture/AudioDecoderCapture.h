#pragma once

#include "audio/AudioDecoderBase.h"
#include "capture/CaptureDecoderSink.h"

namespace qvs {

/// A capture device's sound as a session's audio decoder. It decodes nothing: `captureFrame` polls.
class AudioDecoderCapture final : public AudioDecoderBase {
 public:
  uint32_t setCaptureDevice(int32_t deviceId) override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFrame(uint8_t*, uint32_t, uint32_t, uint64_t, AudioSampleBuffer&) override { return 0; }
  /// `flags` 7 where a block came; always 0. `timecode` in milliseconds.
  uint32_t captureFrame(AudioSampleBuffer& out, uint32_t* flags, int64_t* timecode) override;
  uint32_t close() override;
  uint32_t getSamplesPerFrame() override { return 0; }
  uint32_t getFramesDecoded() override { return static_cast<uint32_t>(frameCount); }

 private:
  void copyBlock(const AudioSampleBuffer& sound, AudioSampleBuffer& out, uint32_t* flags, int64_t* timecode);

  CaptureDecoderSink sink{kCaptureAudio};
  uint64_t frameCount = 0;
};

}  // namespace qvs

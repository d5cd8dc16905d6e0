#pragma once

#include "capture/CaptureDecoderSink.h"
#include "video/decoders/VideoDecoderBase.h"

namespace qvs {

/// A host that sets this key learns of pictures without a signal by the bit below in `decode`'s flags.
inline constexpr uint32_t kKeyTellSignal = 100300;
inline constexpr uint32_t kPictureWithoutSignal = 0x100;

/// A capture device's pictures as a session's video decoder. It decodes nothing: `decode` polls, whether anything
/// was added or not.
class VideoDecoderCapture final : public VideoDecoderBase {
 public:
  uint32_t initialize() override { return 0; }
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t setCaptureDevice(int32_t deviceId) override;
  uint32_t close() override;
  using VideoDecoderBase::setParameterValue;
  /// Knows `kKeyTellSignal`: other than 0, the flags of a picture without a signal have `kPictureWithoutSignal`.
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t decodeCodecConfig(uint8_t*, uint32_t, uint32_t) override { return 0; }
  uint32_t addFrame(uint8_t*, uint32_t, uint32_t, uint64_t, uint32_t) override { return 0; }
  using VideoDecoderBase::decode;
  /// `flags` 7 where a picture came.
  uint32_t decode(uint32_t* flags) override;
  uint8_t isFrameDone() override { return sink.inHand() != nullptr; }
  uint32_t getDecodedFrame(VideoFrameBuffer& target) override;
  uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                               uint32_t* displayHeight) override;

 private:
  uint32_t copyPicture(VideoFrameBuffer& picture, VideoFrameBuffer& target);
  void describe(VideoFrameBuffer& picture, VideoFrameBuffer& target);
  void countFrame(const CaptureFrame& frame, const VideoFrameBuffer& picture);

  CaptureDecoderSink sink{kCaptureVideo};
  bool tellSignal = false;
  uint32_t keyFrameInterval = 30;  ///< pictures
  uint64_t frameCount = 0;
  uint64_t lastFrameId = 0;  ///< the device's index; 0 before the first
};

}  // namespace qvs

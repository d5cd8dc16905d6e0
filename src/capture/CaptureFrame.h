#pragma once

#include <cstdint>
#include <memory>

#include "frames/AudioSampleBuffer.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs {

/// Kinds of a captured frame; the same numbers as a packet's.
inline constexpr uint32_t kCaptureAudio = 8;
inline constexpr uint32_t kCaptureVideo = 9;

/// A picture or a block of sound on its way from a device to its consumers. Contents are written by the producer
/// before the first sink has the frame, and only read afterwards; the count of references changes under the
/// device's lock alone.
class CaptureFrame {
 public:
  explicit CaptureFrame(std::unique_ptr<VideoFrameBuffer> picture)
      : contentType(kCaptureVideo), videoFrameBuffer(std::move(picture)) {}
  explicit CaptureFrame(std::unique_ptr<AudioSampleBuffer> sound)
      : contentType(kCaptureAudio), audioSampleBuffer(std::move(sound)) {}

  uint32_t getContentType() const { return contentType; }
  uint32_t incRefereneCount() { return ++referenceCount; }
  uint32_t decRefereneCount() { return --referenceCount; }
  uint32_t getRefereneCount() const { return referenceCount; }
  uint64_t getFrameIndex() const { return frameIndex; }
  void setFrameIndex(uint64_t value) { frameIndex = value; }
  VideoFrameBuffer* getVideoFrameBuffer() const { return videoFrameBuffer.get(); }     ///< null for sound
  AudioSampleBuffer* getAudioSampleBuffer() const { return audioSampleBuffer.get(); }  ///< null for pictures

  /// Before it is used again: drops what came beside the picture.
  void recycle() {
    if (videoFrameBuffer) videoFrameBuffer->recycle();
  }

  // What the device told of the picture; of sound these are values that nobody reads.

  uint32_t getCaptureVideoInput() { return info().captureVideoInput; }
  void setCaptureVideoInput(uint32_t value) { info().captureVideoInput = value; }
  uint32_t getCaptureAudioInput() { return info().captureAudioInput; }
  void setCaptureAudioInput(uint32_t value) { info().captureAudioInput = value; }
  uint32_t getCaptureFrameWidth() { return info().captureFrameWidth; }
  void setCaptureFrameWidth(uint32_t value) { info().captureFrameWidth = value; }
  uint32_t getCaptureFrameHeight() { return info().captureFrameHeight; }
  void setCaptureFrameHeight(uint32_t value) { info().captureFrameHeight = value; }
  uint32_t getCaptureTransformFrameWidth() { return info().captureTransformFrameWidth; }
  void setCaptureTransformFrameWidth(uint32_t value) { info().captureTransformFrameWidth = value; }
  uint32_t getCaptureTransformFrameHeight() { return info().captureTransformFrameHeight; }
  void setCaptureTransformFrameHeight(uint32_t value) { info().captureTransformFrameHeight = value; }
  uint32_t getCaptureFrameRateEnum() { return info().captureFrameRateEnum; }
  void setCaptureFrameRateEnum(uint32_t value) { info().captureFrameRateEnum = value; }
  uint32_t getCaptureFrameRateDen() { return info().captureFrameRateDen; }
  void setCaptureFrameRateDen(uint32_t value) { info().captureFrameRateDen = value; }
  uint32_t getCaptureFrameRateDivisor() { return info().captureFrameRateDivisor; }
  void setCaptureFrameRateDivisor(uint32_t value) { info().captureFrameRateDivisor = value; }
  uint8_t getCaptureFrameProgressive() { return info().captureFrameProgressive; }
  void setCaptureFrameProgressive(uint8_t value) { info().captureFrameProgressive = value; }
  uint8_t getCaptureFrameClosedCaptions() { return info().captureFrameClosedCaptions; }
  void setCaptureFrameClosedCaptions(uint8_t value) { info().captureFrameClosedCaptions = value; }

 private:
  VideoFrameBufferCaptureInfo& info() {
    return videoFrameBuffer ? videoFrameBuffer->getCaptureInfo() : infoOfSound;
  }

  const uint32_t contentType;
  uint32_t referenceCount = 0;
  uint64_t frameIndex = 0;  ///< within the device and the content type, from 1
  std::unique_ptr<VideoFrameBuffer> videoFrameBuffer;
  std::unique_ptr<AudioSampleBuffer> audioSampleBuffer;
  VideoFrameBufferCaptureInfo infoOfSound;
};

}  // namespace qvs

// Pictures from a capture device.
#include "capture/VideoDecoderCapture.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "contract/DecodeFlags.h"
#include "contract/FrameTypes.h"
#include "contract/ScaleIds.h"
#include "frames/VideoFrameBuffer.h"
#include "platform/Guard.h"

namespace qvs {

namespace {
constexpr uint32_t kPictureTaken = DecodeFlagInputDone | DecodeFlagPictureDone | DecodeFlagFrameAvailable;
}

uint32_t VideoDecoderCapture::setCaptureDevice(int32_t deviceId) {
  close();
  return VideoDecoderBase::setCaptureDevice(deviceId);
}

uint32_t VideoDecoderCapture::setParameterValue(uint32_t key, int64_t value) {
  if (key == kKeyTellSignal) tellSignal = value != 0;
  return kSuccess;
}

uint32_t VideoDecoderCapture::close() {
  sink.close();
  lastFrameId = 0;
  return kSuccess;
}

uint32_t VideoDecoderCapture::decode(uint32_t* flags) {
  *flags = 0;
  CaptureFrame* const frame = sink.take(captureDeviceId, getLogger(), kLogContextVideoDecoder);
  if (frame == nullptr) return kSuccess;
  *flags = kPictureTaken;
  const VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
  if (tellSignal && (picture.getFlags() & kFrameFlagNoSignal) != 0) *flags |= kPictureWithoutSignal;
  frameWidth = displayWidth = picture.getWidth();
  frameHeight = displayHeight = picture.getHeight();
  // The picture's own rate: the device may have changed its mode since.
  const double perSecond = frame->getCaptureFrameRateEnum();
  const double period =
      static_cast<double>(frame->getCaptureFrameRateDen()) * frame->getCaptureFrameRateDivisor();
  if (period > 0) frameRate = perSecond / period;
  return kSuccess;
}

uint32_t VideoDecoderCapture::getDecodedFrameSize(uint32_t* width, uint32_t* height, uint32_t* shownWidth,
                                                  uint32_t* shownHeight) {
  *width = *shownWidth = frameWidth;
  *height = *shownHeight = frameHeight;
  return kSuccess;
}

uint32_t VideoDecoderCapture::getDecodedFrame(VideoFrameBuffer& target) {
  return guarded("VideoDecoderCapture::getDecodedFrame", [&]() -> uint32_t {
    CaptureFrame* const frame = sink.inHand();
    if (frame == nullptr) return kFailure;
    VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
    const uint32_t copied = copyPicture(picture, target);
    if (copied != kSuccess) {
      getLogger()->error(
          kLogContextVideoDecoder, 0,
          "VideoDecoderCapture.getDecodedFrame[{context}]: The picture fits no frame of the session");
    }
    describe(picture, target);
    countFrame(*frame, picture);
    ++frameCount;
    sink.release();
    return copied;
  });
}

uint32_t VideoDecoderCapture::copyPicture(VideoFrameBuffer& picture, VideoFrameBuffer& target) {
  if (!picture.isLocationSystemMemory() || picture.getBuffer() == nullptr || target.getBuffer() == nullptr) {
    return kFailure;
  }
  if (picture.getWidth() != target.getWidth() || picture.getHeight() != target.getHeight()) return kFailure;
  if (picture.getFourCC() != target.getFourCC() || picture.getFrameSize() != target.getFrameSize()) {
    return target.transferFrame(picture, false);
  }
  std::memcpy(target.getBuffer(), picture.getBuffer(), picture.getFrameSize());
  target.setLocations(VideoFrameBuffer::systemMem);
  return kSuccess;
}

void VideoDecoderCapture::describe(VideoFrameBuffer& picture, VideoFrameBuffer& target) {
  decodedFrameType = picture.getFrameType();
  if (decodedFrameType == kFrameTypeUnknown) {
    decodedFrameType = frameCount % keyFrameInterval == 0 ? kFrameTypeKey : kFrameTypePredicted;
  }
  decodedFrameTimecode = picture.getTimecode();
  target.setFrameType(decodedFrameType);
  target.setTimecode(picture.getTimecode());
  target.copyTimecodeInfo(picture);
  target.setDisplayWidth(static_cast<int32_t>(frameWidth));
  target.setDisplayHeight(static_cast<int32_t>(frameHeight));
  target.clearAncillaryDataObjs();
  target.copyAncillaryData(picture);
  target.setColorSpace(picture.getColorSpace());
  target.getAudioLevelData() = picture.getAudioLevelData();
  target.getCaptureInfo() = picture.getCaptureInfo();
}

void VideoDecoderCapture::countFrame(const CaptureFrame& frame, const VideoFrameBuffer& picture) {
  TranscoderVideoDecoderCaptureInfo info;
  getDecoderCaptureInfo(&info);
  const uint64_t index = frame.getFrameIndex();
  if (lastFrameId != 0 && index > lastFrameId + 1) {
    const uint64_t dropped = index - lastFrameId - 1;
    info.droppedFrames += dropped;
    std::printf("decoder-skip: dropped:%" PRIu64 " index:%" PRIu64 "\n", dropped, index);
  }
  lastFrameId = index;
  info.frameCountTotal = frameCount + 1;
  info.frameSyncCount = sink.getCount();
  info.lastFrameIndex = index;
  info.lastTimecode = picture.getTimecode();
  if (decodedFrameType == kFrameTypeKey) info.lastKeyTimecode = picture.getTimecode();
  info.frameWidth = frameWidth;
  info.frameHeight = frameHeight;
  setDecoderCaptureInfo(&info);
}

}  // namespace qvs

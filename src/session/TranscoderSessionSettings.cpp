// The session's settings of decoder and encoders: rates, sizes, rectangles, initialization.
#include "session/Forward.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

using RectSetter = void (VideoFrameBuffer::*)(const uint32_t*);

void setRects(const char* label, VideoFrameBufferSet* set, RectSetter setter, const uint32_t* rect) {
  if (set == nullptr) return;
  guarded(label, [&] {
    for (const auto& frame : *set) (frame.get()->*setter)(rect);
  });
}

}  // namespace

uint32_t TranscoderSession::videoDecoderSetGPUID(int32_t gpuid) {
  return forward("TranscoderSession::videoDecoderSetGPUID", getVideoDecoder(),
                 [&](auto& stage) { return stage.setGPUID(gpuid); });
}

uint32_t TranscoderSession::videoDecoderSetCaptureDevice(int32_t deviceId) {
  return forward("TranscoderSession::videoDecoderSetCaptureDevice", getVideoDecoder(),
                 [&](auto& stage) { return stage.setCaptureDevice(deviceId); });
}

uint32_t TranscoderSession::videoDecoderGetCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) {
  return forward("TranscoderSession::videoDecoderGetCaptureInfo", getVideoDecoder(),
                 [&](auto& stage) { return stage.getDecoderCaptureInfo(info); });
}

uint32_t TranscoderSession::videoDecoderApplyParameters() {
  return forward("TranscoderSession::videoDecoderApplyParameters", getVideoDecoder(),
                 [&](auto& stage) { return stage.applyParameters(); });
}

uint32_t TranscoderSession::videoDecoderInitialize() {
  return forward("TranscoderSession::videoDecoderInitialize", getVideoDecoder(),
                 [&](auto& stage) { return stage.initialize(); });
}

uint32_t TranscoderSession::videoEncoderSetDefaults(uint32_t indexEncoder, int32_t videoType, int32_t pal) {
  return forward("TranscoderSession::videoEncoderSetDefaults", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setDefaults(videoType, pal); });
}

uint32_t TranscoderSession::videoEncoderSetBitrate(uint32_t indexEncoder, uint32_t bitrate) {
  return forward("TranscoderSession::videoEncoderSetBitrate", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setBitrate(bitrate); });
}

uint32_t TranscoderSession::videoEncoderUpdateBitrate(uint32_t indexEncoder, uint32_t bitrate) {
  return forward("TranscoderSession::videoEncoderUpdateBitrate", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.updateBitrate(bitrate); });
}

uint32_t TranscoderSession::videoEncoderSetFrameSize(uint32_t indexEncoder, uint32_t width, uint32_t height) {
  return forward("TranscoderSession::videoEncoderSetFrameSize", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setFrameSize(width, height); });
}

uint32_t TranscoderSession::videoEncoderSetFrameIndex(uint32_t indexEncoder, int32_t frameIndex) {
  return forward("TranscoderSession::videoEncoderSetFrameSize", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setFrameIndex(frameIndex); });
}

uint32_t TranscoderSession::videoEncoderSetKeyFrameFollow(uint32_t indexEncoder, uint8_t keyFrameFollow) {
  return forward("TranscoderSession::videoEncoderSetKeyFrameFollow", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setKeyFrameFollow(keyFrameFollow); });
}

uint32_t TranscoderSession::videoEncoderSetFrameRate(uint32_t indexEncoder, double frameRate) {
  return forward("TranscoderSession::videoEncoderSetFrameRate", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setFrameRate(frameRate); });
}

uint32_t TranscoderSession::videoEncoderSetGPUID(uint32_t indexEncoder, int32_t gpuid) {
  return forward("TranscoderSession::videoEncoderSetGPUID", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.setGPUID(gpuid); });
}

uint32_t TranscoderSession::videoEncoderApplyParameters(uint32_t indexEncoder) {
  return forward("TranscoderSession::videoEncoderSetFrameRate", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.applyParameters(); });
}

uint32_t TranscoderSession::videoEncoderInitialize(uint32_t indexEncoder) {
  return forward("TranscoderSession::videoEncoderInitialize", getVideoEncoder(indexEncoder),
                 [&](auto& stage) { return stage.initialize(); });
}

uint32_t TranscoderSession::videoEncoderSetCrop(uint32_t setIndex, const uint32_t* rect) {
  setRects("TranscoderSession::videoEncoderSetCrop", getVideoEncoderBufferSet(setIndex),
           &VideoFrameBuffer::setCrop, rect);
  return kFailure;  // in every case, as hosts know it
}

uint32_t TranscoderSession::videoEncoderSetSrcRect(uint32_t setIndex, const uint32_t* rect) {
  setRects("TranscoderSession::videoEncoderSetSrcRect", getVideoEncoderBufferSet(setIndex),
           &VideoFrameBuffer::setSrcRect, rect);
  return kFailure;  // in every case, as hosts know it
}

uint32_t TranscoderSession::videoEncoderSetPadding(uint32_t setIndex, const uint32_t* rect) {
  setRects("TranscoderSession::videoEncoderSetPadding", getVideoEncoderBufferSet(setIndex),
           &VideoFrameBuffer::setPadding, rect);
  return kFailure;  // in every case, as hosts know it
}

uint32_t TranscoderSession::videoEncoderSetDstRect(uint32_t setIndex, const uint32_t* rect) {
  setRects("TranscoderSession::videoEncoderSetDstRect", getVideoEncoderBufferSet(setIndex),
           &VideoFrameBuffer::setDstRect, rect);
  return kFailure;  // in every case, as hosts know it
}

}  // namespace qvs

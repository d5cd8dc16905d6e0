// The session's settings of decoder and encoders: rates, sizes, rectangles, initialization.
#include "session/Forward.h"
#include "session/TranscoderSession.h"

namespace qvs {

namespace {

using RectSetter = void (VideoFrameBuffer::*)(const uint32_t*);

void setRects(TranscoderSession& session, const char* label, uint32_t setIndex, RectSetter setter,
              const uint32_t* rect) {
  guarded(label, [&] {
    VideoFrameBufferSet* set = session.getVideoEncoderBufferSet(setIndex);
    if (set == nullptr) {
      session.fail(label, noBufferSet(setIndex));
      return;
    }
    for (const auto& frame : *set) (frame.get()->*setter)(rect);
  });
}

}  // namespace

uint32_t TranscoderSession::videoDecoderSetGPUID(int32_t gpuid) {
  return forward(*this, "TranscoderSession::videoDecoderSetGPUID", videoDecoderRef(),
                 [&](auto& stage) { return stage.setGPUID(gpuid); });
}

uint32_t TranscoderSession::videoDecoderSetCaptureDevice(int32_t deviceId) {
  return forward(*this, "TranscoderSession::videoDecoderSetCaptureDevice", videoDecoderRef(),
                 [&](auto& stage) { return stage.setCaptureDevice(deviceId); });
}

uint32_t TranscoderSession::videoDecoderGetCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) {
  return forward(*this, "TranscoderSession::videoDecoderGetCaptureInfo", videoDecoderRef(),
                 [&](auto& stage) { return stage.getDecoderCaptureInfo(info); });
}

uint32_t TranscoderSession::videoDecoderApplyParameters() {
  return forward(*this, "TranscoderSession::videoDecoderApplyParameters", videoDecoderRef(),
                 [&](auto& stage) { return stage.applyParameters(); });
}

uint32_t TranscoderSession::videoDecoderInitialize() {
  return forward(*this, "TranscoderSession::videoDecoderInitialize", videoDecoderRef(),
                 [&](auto& stage) { return stage.initialize(); });
}

uint32_t TranscoderSession::videoEncoderSetDefaults(uint32_t indexEncoder, int32_t videoType, int32_t pal) {
  return forward(*this, "TranscoderSession::videoEncoderSetDefaults", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.setDefaults(videoType, pal); });
}

uint32_t TranscoderSession::videoEncoderSetBitrate(uint32_t indexEncoder, uint32_t bitrate) {
  return forward(*this, "TranscoderSession::videoEncoderSetBitrate", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.setBitrate(bitrate); });
}

uint32_t TranscoderSession::videoEncoderUpdateBitrate(uint32_t indexEncoder, uint32_t bitrate) {
  return forward(*this, "TranscoderSession::videoEncoderUpdateBitrate", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.updateBitrate(bitrate); });
}

uint32_t TranscoderSession::videoEncoderSetFrameSize(uint32_t indexEncoder, uint32_t width, uint32_t height) {
  return forward(*this, "TranscoderSession::videoEncoderSetFrameSize", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.setFrameSize(width, height); });
}

uint32_t TranscoderSession::videoEncoderSetFrameIndex(uint32_t indexEncoder, int32_t frameIndex) {
  // Exceptions are printed under the neighbour's name, as hosts know them.
  return forward(
      *this, "TranscoderSession::videoEncoderSetFrameIndex", videoEncoderRef(indexEncoder),
      [&](auto& stage) { return stage.setFrameIndex(frameIndex); }, kFailure,
      "TranscoderSession::videoEncoderSetFrameSize");
}

uint32_t TranscoderSession::videoEncoderSetKeyFrameFollow(uint32_t indexEncoder, uint8_t keyFrameFollow) {
  return forward(*this, "TranscoderSession::videoEncoderSetKeyFrameFollow", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.setKeyFrameFollow(keyFrameFollow); });
}

uint32_t TranscoderSession::videoEncoderSetFrameRate(uint32_t indexEncoder, double frameRate) {
  return forward(*this, "TranscoderSession::videoEncoderSetFrameRate", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.setFrameRate(frameRate); });
}

uint32_t TranscoderSession::videoEncoderSetGPUID(uint32_t indexEncoder, int32_t gpuid) {
  return forward(*this, "TranscoderSession::videoEncoderSetGPUID", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.setGPUID(gpuid); });
}

uint32_t TranscoderSession::videoEncoderApplyParameters(uint32_t indexEncoder) {
  // Exceptions are printed under the neighbour's name, as hosts know them.
  return forward(
      *this, "TranscoderSession::videoEncoderApplyParameters", videoEncoderRef(indexEncoder),
      [&](auto& stage) { return stage.applyParameters(); }, kFailure,
      "TranscoderSession::videoEncoderSetFrameRate");
}

uint32_t TranscoderSession::videoEncoderInitialize(uint32_t indexEncoder) {
  return forward(*this, "TranscoderSession::videoEncoderInitialize", videoEncoderRef(indexEncoder),
                 [&](auto& stage) { return stage.initialize(); });
}

uint32_t TranscoderSession::videoEncoderSetCrop(uint32_t setIndex, const uint32_t* rect) {
  setRects(*this, "TranscoderSession::videoEncoderSetCrop", setIndex, &VideoFrameBuffer::setCrop, rect);
  return kFailure;  // in every case, as hosts know it
}

uint32_t TranscoderSession::videoEncoderSetSrcRect(uint32_t setIndex, const uint32_t* rect) {
  setRects(*this, "TranscoderSession::videoEncoderSetSrcRect", setIndex, &VideoFrameBuffer::setSrcRect, rect);
  return kFailure;  // in every case, as hosts know it
}

uint32_t TranscoderSession::videoEncoderSetPadding(uint32_t setIndex, const uint32_t* rect) {
  setRects(*this, "TranscoderSession::videoEncoderSetPadding", setIndex, &VideoFrameBuffer::setPadding, rect);
  return kFailure;  // in every case, as hosts know it
}

uint32_t TranscoderSession::videoEncoderSetDstRect(uint32_t setIndex, const uint32_t* rect) {
  setRects(*this, "TranscoderSession::videoEncoderSetDstRect", setIndex, &VideoFrameBuffer::setDstRect, rect);
  return kFailure;  // in every case, as hosts know it
}

}  // namespace qvs

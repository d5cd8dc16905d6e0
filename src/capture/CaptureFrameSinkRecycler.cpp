// Frames of a device that wait for their next use.
#include "capture/CaptureFrameSinkRecycler.h"

#include "capture/CaptureUtils.h"

namespace qvs {

CaptureFrameSinkRecycler::~CaptureFrameSinkRecycler() {
  for (; !recycle.empty(); recycle.pop()) CaptureUtils::deleteCaptureFrame(recycle.front());
}

void CaptureFrameSinkRecycler::recycleFrame(CaptureFrame* frame) {
  const ScopedLock guard(lock);
  recycle.push(frame);
  frame->recycle();
  for (; recycle.size() > kFramesMax; recycle.pop()) CaptureUtils::deleteCaptureFrame(recycle.front());
}

CaptureFrame* CaptureFrameSinkRecycler::take(uint32_t contentType) {
  const ScopedLock guard(lock);
  // Sound and pictures take turns: what isn't wanted goes to the back, and the order within a kind stays.
  for (size_t left = recycle.size(); left > 0; --left) {
    CaptureFrame* const frame = recycle.front();
    recycle.pop();
    if (frame->getContentType() == contentType) return frame;
    recycle.push(frame);
  }
  return nullptr;
}

CaptureFrame* CaptureFrameSinkRecycler::getFrame(uint32_t width, uint32_t height, uint32_t fourcc,
                                                 VideoFrameBufferSet* set) {
  CaptureFrame* const frame = take(kCaptureVideo);
  if (frame == nullptr ||
      CaptureUtils::preparePicture(*frame->getVideoFrameBuffer(), width, height, fourcc, set)) {
    return frame;
  }
  CaptureUtils::deleteCaptureFrame(frame);
  return nullptr;
}

CaptureFrame* CaptureFrameSinkRecycler::getFrame(uint32_t sampleCount, uint32_t channels,
                                                 uint32_t sampleRate) {
  CaptureFrame* const frame = take(kCaptureAudio);
  if (frame == nullptr ||
      CaptureUtils::prepareSound(*frame->getAudioSampleBuffer(), sampleCount, channels, sampleRate)) {
    return frame;
  }
  CaptureUtils::deleteCaptureFrame(frame);
  return nullptr;
}

}  // namespace qvs

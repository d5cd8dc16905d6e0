// The bounded queue from a device to one consumer.
#include "capture/CaptureFrameSink.h"

#include "capture/CaptureUtils.h"

namespace qvs {

CaptureFrameSink::CaptureFrameSink(uint32_t id, uint32_t contentType, uint32_t maxFrames,
                                   IConcurrentLock& lock, CaptureFrameSinkRecycler* recycler,
                                   ICaptureFrameSinkFrameNotify* notify)
    : frameRecycler(recycler),
      contentType(contentType),
      lock(lock),
      id(id),
      maxFrames(maxFrames),
      frameNotifyPtr(notify) {}

void CaptureFrameSink::addCaptureFrame(CaptureFrame* frame) {
  const ScopedLock guard(lock);
  frame->incRefereneCount();
  frames.push(frame);
  while (maxFrames != 0 && frames.size() > maxFrames) releaseCaptureFrame(getCaptureFrame());
  if (frameNotifyPtr != nullptr) frameNotifyPtr->onFrame(frame);
}

CaptureFrame* CaptureFrameSink::getCaptureFrame() {
  const ScopedLock guard(lock);
  if (frames.empty()) return nullptr;
  CaptureFrame* const frame = frames.front();
  frames.pop();
  return frame;
}

CaptureFrame* CaptureFrameSink::peekCaptureFrame() {
  const ScopedLock guard(lock);
  if (frames.empty()) return nullptr;
  frames.front()->incRefereneCount();
  return frames.front();
}

void CaptureFrameSink::releaseCaptureFrame(CaptureFrame* frame) {
  if (frame == nullptr) return;
  const ScopedLock guard(lock);
  if (frame->decRefereneCount() != 0) return;
  if (frameRecycler != nullptr) {
    frameRecycler->recycleFrame(frame);
  } else {
    CaptureUtils::deleteCaptureFrame(frame);
  }
}

void CaptureFrameSink::clearCaptureFrames() {
  const ScopedLock guard(lock);
  while (CaptureFrame* const frame = getCaptureFrame()) releaseCaptureFrame(frame);
}

uint32_t CaptureFrameSink::getCaptureFrameCount() {
  const ScopedLock guard(lock);
  return static_cast<uint32_t>(frames.size());
}

}  // namespace qvs

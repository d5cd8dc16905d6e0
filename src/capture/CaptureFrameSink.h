#pragma once

#include <cstddef>
#include <cstdint>

#include "capture/CaptureFrameSinkRecycler.h"
#include "capture/ICaptureFrameSinkFrameNotify.h"

namespace qvs {

/// The queue between a device and one consumer. Frames in it have a reference each, which whoever takes one
/// inherits and gives back by `releaseCaptureFrame`. Any thread.
class CaptureFrameSink {
 public:
  /// All borrowed; `recycler` and `notify` may be null. `maxFrames` 0: without limit.
  CaptureFrameSink(uint32_t id, uint32_t contentType, uint32_t maxFrames, IConcurrentLock& lock,
                   CaptureFrameSinkRecycler* recycler, ICaptureFrameSinkFrameNotify* notify);
  ~CaptureFrameSink() { clearCaptureFrames(); }
  CaptureFrameSink(const CaptureFrameSink&) = delete;
  CaptureFrameSink& operator=(const CaptureFrameSink&) = delete;

  /// A full sink drops its oldest frame.
  void addCaptureFrame(CaptureFrame* frame);
  /// The oldest frame; null where there is none.
  CaptureFrame* getCaptureFrame();
  /// The same, which stays in the queue as well.
  CaptureFrame* peekCaptureFrame();
  void releaseCaptureFrame(CaptureFrame* frame);
  void clearCaptureFrames();

  uint32_t getId() const { return id; }
  uint32_t getContentType() const { return contentType; }
  uint32_t getMaxFrames() const { return maxFrames; }
  uint32_t getCaptureFrameCount();

 private:
  CaptureFrameSinkRecycler* const frameRecycler;
  const uint32_t contentType;
  IConcurrentLock& lock;  ///< the device's
  const uint32_t id;
  RingQueue<CaptureFrame*> frames;
  const uint32_t maxFrames;
  ICaptureFrameSinkFrameNotify* const frameNotifyPtr;
};

}  // namespace qvs

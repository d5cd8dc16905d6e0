#pragma once

#include <cstdint>

#include "capture/CaptureFrame.h"
#include "platform/IConcurrentLock.h"
#include "platform/RingQueue.h"

namespace qvs {

class VideoFrameBufferSet;

/// A device's frames between two uses, at most kFramesMax. Any thread.
class CaptureFrameSinkRecycler {
 public:
  static constexpr size_t kFramesMax = 10;

  /// The device's lock, borrowed.
  explicit CaptureFrameSinkRecycler(IConcurrentLock& lock) : lock(lock) {}
  ~CaptureFrameSinkRecycler();
  CaptureFrameSinkRecycler(const CaptureFrameSinkRecycler&) = delete;
  CaptureFrameSinkRecycler& operator=(const CaptureFrameSinkRecycler&) = delete;

  /// Takes the frame over; those that have waited longest go.
  void recycleFrame(CaptureFrame* frame);

  /// A picture that has waited, with storage of this size; null where none waits or memory is out. The caller
  /// owns it.
  CaptureFrame* getFrame(uint32_t width, uint32_t height, uint32_t fourcc, VideoFrameBufferSet* set);

  /// The same for sound, with room for at least so many samples a channel.
  CaptureFrame* getFrame(uint32_t sampleCount, uint32_t channels, uint32_t sampleRate);

 private:
  /// The frame of this kind that has waited longest.
  CaptureFrame* take(uint32_t contentType);

  IConcurrentLock& lock;
  RingQueue<CaptureFrame*> recycle;  ///< owned
};

}  // namespace qvs

#pragma once

#include <cstdint>

#include "capture/CaptureFrameSink.h"
#include "capture/ICaptureDevice.h"

namespace qvs {

/// A decoder's end of the road from a device: its sink and the frame that it has in hand. One thread at a time.
class CaptureDecoderSink {
 public:
  static constexpr uint32_t kFramesMax = 100;  ///< that wait; older ones are lost

  explicit CaptureDecoderSink(uint32_t contentType) : contentType(contentType) {}
  ~CaptureDecoderSink() { close(); }
  CaptureDecoderSink(const CaptureDecoderSink&) = delete;
  CaptureDecoderSink& operator=(const CaptureDecoderSink&) = delete;

  /// Gives back the frame in hand and takes the next; null where none waits. The first call adds the sink to the
  /// device, from which on frames are kept for this decoder. A device that isn't there is told once.
  CaptureFrame* take(int32_t deviceId, ILogger* logger, int logContext);
  CaptureFrame* inHand() const { return frame; }
  void release();
  /// Frames that wait.
  uint32_t getCount() { return sink != nullptr ? sink->getCaptureFrameCount() : 0; }
  /// Leaves the device; safe to call twice.
  void close();

 private:
  bool open(int32_t deviceId, ILogger* logger, int logContext);

  const uint32_t contentType;
  ICaptureDevice* device = nullptr;  ///< borrowed from the manager, which outlives all sessions
  CaptureFrameSink* sink = nullptr;  ///< the device's
  CaptureFrame* frame = nullptr;     ///< of which one reference is ours
  bool toldMissing = false;
};

}  // namespace qvs

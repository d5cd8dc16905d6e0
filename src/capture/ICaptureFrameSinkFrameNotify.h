#pragma once

namespace qvs {

class CaptureFrame;

/// Told of each frame that a sink takes.
class ICaptureFrameSinkFrameNotify {
 public:
  virtual ~ICaptureFrameSinkFrameNotify() = default;

  /// On the device's thread and under the device's lock: be short, and neither stop the device nor remove sinks.
  virtual void onFrame(CaptureFrame* frame) = 0;
};

}  // namespace qvs

// How a decoder gets frames from a device.
#include "capture/CaptureDecoderSink.h"

#include <fmt/format.h>

#include <utility>

#include "capture/CaptureManager.h"

namespace qvs {

bool CaptureDecoderSink::open(int32_t deviceId, ILogger* logger, int logContext) {
  device =
      deviceId >= 0 ? CaptureManager::getInstance()->getDevice(static_cast<uint32_t>(deviceId)) : nullptr;
  if (device == nullptr) {
    if (!std::exchange(toldMissing, true)) {
      logger->error(
          logContext, 0,
          fmt::format("CaptureDecoderSink.open[{{context}}]: No capture device has this id: {}", deviceId));
    }
    return false;
  }
  sink = device->getFrameSink(device->addFrameSink(contentType, kFramesMax, nullptr));
  return sink != nullptr;
}

CaptureFrame* CaptureDecoderSink::take(int32_t deviceId, ILogger* logger, int logContext) {
  if (sink == nullptr && !open(deviceId, logger, logContext)) return nullptr;
  release();
  frame = sink->getCaptureFrame();
  return frame;
}

void CaptureDecoderSink::release() {
  if (frame != nullptr) sink->releaseCaptureFrame(std::exchange(frame, nullptr));
}

void CaptureDecoderSink::close() {
  release();
  if (sink != nullptr) device->removeFrameSink(std::exchange(sink, nullptr)->getId());
  toldMissing = false;
}

}  // namespace qvs

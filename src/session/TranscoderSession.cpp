// A session's life: make, initialize, reset, and its plug-in paths.
#include "session/TranscoderSession.h"

#include "hardware/HardwareInspector.h"
#include "platform/Guard.h"
#include "session/StageSelection.h"

namespace qvs {

TranscoderSession::TranscoderSession() {
  scalerTargets.reserve(kScalerTargetsMax);
}

TranscoderSession::~TranscoderSession() {
  finishVideoEncoders();
  currVideoDecodeBuffer = {};
  audioDecoderWorkingBuffer.reset();
}

uint32_t TranscoderSession::initialize() {
  return guarded("TranscoderSession::initialize", [&]() -> uint32_t {
    const HardwareInspector* inspector = HardwareInspector::getInstance();
    if (inspector == nullptr) return kSuccess;
    initializeFrom(*inspector);
    return kSuccess;
  });
}

void TranscoderSession::initializeFrom(const HardwareInspector& inspector) {
  copyInventory(inspector);
  logInventory(inspector);
}

uint32_t TranscoderSession::resetPipeline() {
  return guarded("TranscoderSession::resetPipeline", [&]() -> uint32_t {
    for (const auto& frame : videoDecoderBuffers) {
      if (!frame) continue;
      logCollector.info("DELETING DecoderFrameBuffer");
      uint32_t status = 0;
      if (videoScaler) videoScaler->scaleFrame(frame.get(), nullptr, &status);
    }
    finishVideoEncoders();
    releaseCardPictures();
    videoEncoderBufferSets.clear();
    videoDecoder.reset();
    videoScaler.reset();
    videoEncoders.clear();
    return kSuccess;
  });
}

uint8_t* TranscoderSession::getAudioDecoderWorkingBuffer(uint32_t size) {
  if (size > audioDecoderWorkingBufferLen) {
    auto* grown = static_cast<uint8_t*>(std::malloc(size));
    if (grown == nullptr) return nullptr;
    audioDecoderWorkingBuffer.reset(grown);
    audioDecoderWorkingBufferLen = size;
  }
  return audioDecoderWorkingBuffer.get();
}

char* TranscoderSession::pluginPath(PluginPath path) {
  switch (path) {
    case PluginPath::kQuickSync:
      return quicksyncPath.data();
    case PluginPath::kVaapi:
      return vaapiPath.data();
    default:
      return nativePath.data();
  }
}

}  // namespace qvs

// The encoder of NVIDIA's cards: the card's context for its plug-in, and pictures from where they lie.
#include "video/encoders/hosts/VideoEncoderH26XNVENC12Host.h"

#include <fmt/format.h>

#include <algorithm>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferSet.h"
#include "platform/Guard.h"

namespace qvs {

VideoEncoderH26XNVENC12Host::VideoEncoderH26XNVENC12Host() : VideoEncoderPluginHost(kEncoderH26XNVENC12) {}

// The plug-in's session ends before the stream that it works in.
VideoEncoderH26XNVENC12Host::~VideoEncoderH26XNVENC12Host() {
  guarded(row.label, [&] { closePlugin(); });
}

uint32_t VideoEncoderH26XNVENC12Host::setGPUID(int32_t value) {
  gpuid = value;
  return VideoEncoderPluginHost::setGPUID(value);
}

uint32_t VideoEncoderH26XNVENC12Host::initCUDA(int32_t deviceId) {
  finish();
  if (givenUp) return kFailure;
  uint32_t result = kSuccess;
  if (!device) device = NvencDevice::open(codec, std::max(deviceId, 0), getLogger(), &result);
  work->held = device;
  return result;
}

/// A step of the set-up, which ends it where it fails; one that the plug-in lacks does not.
template <typename Entry, typename... Arguments>
uint32_t VideoEncoderH26XNVENC12Host::told(const char* operation, const char* call, Entry entry,
                                           Arguments... arguments) {
  const auto answer =
      drive(operation, [=](Plugin& plugin) mutable { return plugin.ask(entry, arguments...); });
  if (!answer) return kFailure;
  if (answer->status != 0) {
    getLogger()->warn(kLogContextVideoEncoder, place().index,
                      head(operation) + fmt::format("{} failed: res:{}", call, answer->status));
  }
  logStatus(*answer, kPluginLevelWarn);
  return static_cast<uint32_t>(answer->status);
}

uint32_t VideoEncoderH26XNVENC12Host::applyParameters() {
  constexpr const char* kHere = "applyParameters";
  return guarded(row.label, [&]() -> uint32_t {
    uint32_t result = initCUDA(gpuid);
    if (result != kSuccess) {
      getLogger()->warn(kLogContextVideoEncoder, place().index,
                        head(kHere) + fmt::format("initCUDA failed: res:{}", static_cast<int32_t>(result)));
      logStatus({static_cast<int32_t>(result), {}}, kPluginLevelWarn);
      return result;
    }
    result =
        told(kHere, "setCodecAndVersion", &pluginVideoEncoder::func_setCodecAndVersion, codec, codecVersion);
    if (result != kSuccess) return result;
    const auto answer = drive(kHere, [record = device->record()](Plugin& plugin) mutable {
      return plugin.ask(&pluginVideoEncoder::func_setCUDAContext, &record);
    });
    if (!answer) return kFailure;
    if (answer->status != 0) {
      getLogger()->warn(kLogContextVideoEncoder, place().index,
                        head(kHere) + fmt::format("setCUDAContext failed: res:{}", answer->status));
      logStatus(*answer, kPluginLevelWarn);
      return static_cast<uint32_t>(answer->status);
    }
    return told(kHere, "applyParameters", &pluginVideoEncoder::func_applyParameters);
  });
}

uint32_t VideoEncoderH26XNVENC12Host::initialize() {
  return guarded(row.label, [&] {
    lastTimecode.reset();
    flushed = 0;
    return told("initialize", "initialize", &pluginVideoEncoder::func_initialize);
  });
}

bool VideoEncoderH26XNVENC12Host::takesPictures() const {
  return work->plugin.offers(&pluginVideoEncoder::func_addFrame3);
}

uint32_t VideoEncoderH26XNVENC12Host::addFrame(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  finish();
  if (!givenUp && !takesPictures()) return kFailure;
  return VideoEncoderPluginHost::addFrame(frame, type, time);
}

uint32_t VideoEncoderH26XNVENC12Host::getEncodedFrameCount() {
  finish();
  return static_cast<uint32_t>(frames.list().size());
}

bool VideoEncoderH26XNVENC12Host::isOnSameDevice(const VideoFrameBuffer& frame) const {
  VideoFrameBufferSet* pool = frame.getBufferSet();
  return device && pool != nullptr && pool->getScaleSetDataCUDA().m_Context == device->getContext();
}

bool VideoEncoderH26XNVENC12Host::takePicture(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  PluginVideoFrameBuffer& record = work->frameRecord;
  work->form = PluginEncoderWork::Form::kFrame;
  const auto describe = [&] { frame.getPluginBufferInfo(&record, type, time); };
  describe();
  // A frame may claim a copy on a device that it doesn't have.
  const bool onDevice = frame.isLocationCUDA() && record.frameCUDA.buffer != nullptr && isOnSameDevice(frame);
  if (!onDevice) {
    if (!isEncodable(frame)) return false;
    describe();
    record.locations = QVS_LOCATION_SYSTEM_MEMORY;
  }
  work->picture = frame.getFrame();
  return true;
}

}  // namespace qvs

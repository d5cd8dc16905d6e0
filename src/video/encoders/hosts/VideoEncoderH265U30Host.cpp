// The encoder of the accelerator card: pictures by handle or through NV12, and set-up steps that answer.
#include "video/encoders/hosts/VideoEncoderH265U30Host.h"

#include <cstdio>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "frames/U30FrameProviders.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

// The plug-in's own keys.
constexpr uint32_t kKeyFourcc = 210039;
constexpr uint32_t kKeyCodec = 210044;
constexpr uint32_t kKeyBitDepth = 210045;
constexpr uint32_t kKeyDeviceCount = 210046;
constexpr uint32_t kKeyImage = 210047;  ///< its name, in units of 64 bytes
constexpr uint32_t kKeyLoad = 210048;
constexpr size_t kImageUnit = 64;

}  // namespace

VideoEncoderH265U30Host::VideoEncoderH265U30Host() : VideoEncoderPluginHost(kEncoderH265U30) {}

uint32_t VideoEncoderH265U30Host::setFirmware(int64_t deviceCount, const std::string& image) {
  return guarded(row.label, [&]() -> uint32_t {
    std::vector<char> name((image.size() + kImageUnit) / kImageUnit * kImageUnit, '\0');
    image.copy(name.data(), image.size());
    setParameterValue(kKeyDeviceCount, deviceCount);
    // Not by the array form of the base, whose count is one of numbers.
    const auto told = drive("setParameterValue", [name](Plugin& plugin) mutable {
      return plugin.ask(&pluginVideoEncoder::func_setParameterValuesLong, kKeyImage,
                        static_cast<int64_t*>(static_cast<void*>(name.data())),
                        static_cast<uint32_t>(name.size() / kImageUnit));
    });
    if (told) logStatus(*told, kPluginLevelWarn);
    return setParameterValue(kKeyLoad, int64_t{1});
  });
}

uint32_t VideoEncoderH265U30Host::initialize() {
  setParameterValue(kKeyFourcc, int64_t{fourcc == kFourCCYV12 ? kFourCCNV12 : kFourCCHN12});
  setParameterValue(kKeyCodec, int64_t{codec});
  setParameterValue(kKeyBitDepth, int64_t{bitDepth});
  return VideoEncoderPluginHost::initialize();
}

uint32_t VideoEncoderH265U30Host::applyParameters() {
  return guarded(row.label, [&]() -> uint32_t {
    const auto answer = drive("applyParameters", [codecId = codec, version = codecVersion](Plugin& plugin) {
      return plugin.ask(&pluginVideoEncoder::func_setCodecAndVersion, codecId, version);
    });
    if (answer && answer->status != 0) {
      std::puts("VideoEncoderH265U30Host::setCodecAndVersion Fail");
      logStatus(*answer, kPluginLevelWarn);
    }
    return VideoEncoderPluginHost::applyParameters();
  });
}

bool VideoEncoderH265U30Host::takesPictures() const {
  return work->plugin.offers(&pluginVideoEncoder::func_encodeFrame);
}

uint32_t VideoEncoderH265U30Host::addFrame(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  finish();
  return work->plugin.getSession() != nullptr ? VideoEncoderPluginHost::addFrame(frame, type, time)
                                              : kFailure;
}

bool VideoEncoderH265U30Host::takePicture(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  work->form = PluginEncoderWork::Form::kPlanes;
  work->picture = {};
  PluginVideoBuffer& record = work->record;
  if (frame.getFourCC() == kFourCCHN12) {
    describe(frame, type, time, &record);
    record.opaque_ = U30FrameProviders::takeHandle(frame);
    if (record.opaque_ != nullptr) return true;
    std::puts("VideoEncoderH265U30Host::addFrame: opaque already freed");
    return false;
  }
  frame.transferToSystemMemory();
  if (frame.getFourCC() != kFourCCYV12 || frame.getPlane(2) == nullptr) {
    refuse(frame, "YV12 or HN12");
    return false;
  }
  if (!stage(frame)) return false;
  describe(*frame_nv12, type, time, &record);
  return true;
}

// A call that hangs keeps the picture that it reads: it gets another one then, as the work that went with it.
bool VideoEncoderH265U30Host::stage(const VideoFrameBuffer& frame) {
  if (!frame_nv12 || work->held != frame_nv12) {
    frame_nv12 = std::make_shared<VideoFrameBuffer>();
    work->held = frame_nv12;
  }
  if (frame_nv12->allocBuffer(frame.getWidth(), frame.getHeight(), kFourCCNV12, 0) != kSuccess) return false;
  frame_nv12->setTimecode(frame.getTimecode());
  return VideoFrameBuffer::copyYV12toNV12(&frame.getFrame(), &frame_nv12->getFrame()) == kSuccess;
}

void VideoEncoderH265U30Host::describe(const VideoFrameBuffer& frame, uint32_t type, uint64_t time,
                                       PluginVideoBuffer* out) {
  *out = {};
  const frame_tt& picture = frame.getFrame();
  for (size_t i = 0; i < 4; ++i) {
    out->plane[i] = picture.plane[i];
    out->stride[i] = static_cast<uint32_t>(picture.stride[i]);
  }
  out->width = picture.width;
  out->height = picture.height;
  out->frameType = type;
  out->timecode = time;
  out->four_cc = picture.four_cc;
}

uint32_t VideoEncoderH265U30Host::skipFrame(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  return guarded("VideoEncoderH265U30Host::skipFrame", [&]() -> uint32_t {
    if (work->plugin.getSession() == nullptr) return kFailure;
    if (frame.getFourCC() != kFourCCHN12) return kSuccess;
    if (!work->plugin.offers(&pluginVideoEncoder::func_skipFrame)) {
      U30FrameProviders::release(U30FrameProviders::takeHandle(frame));
      return kSuccess;
    }
    PluginVideoBuffer record{};
    describe(frame, type != 0 ? type : frame.getFrameType(), time, &record);
    record.opaque_ = U30FrameProviders::takeHandle(frame);
    if (record.opaque_ == nullptr) return kSuccess;
    const auto answer = drive("skipFrame", [record](Plugin& plugin) mutable {
      return plugin.ask(&pluginVideoEncoder::func_skipFrame, &record);
    });
    if (!answer) return kFailure;
    logStatus(*answer, kPluginLevelWarn);
    return static_cast<uint32_t>(answer->status);
  });
}

FrameAllocProvider VideoEncoderH265U30Host::getAllocProvider() {
  return U30FrameProviders::getAllocProvider();
}

FrameFreeProvider VideoEncoderH265U30Host::getFreeProvider() {
  return U30FrameProviders::getFreeProvider();
}

}  // namespace qvs

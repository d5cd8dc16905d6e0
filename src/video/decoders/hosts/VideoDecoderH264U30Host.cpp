// The decoder of the accelerator card: pictures by handle, or copied out of NV12.
#include "video/decoders/hosts/VideoDecoderH264U30Host.h"

#include <fmt/format.h>

#include <bit>

#include "frames/geometry/FourCC.h"
#include "frames/U30FrameProviders.h"
#include "platform/Guard.h"
#include "video/scaling/device/VideoFrameNV12Utils.h"

namespace qvs {

namespace {

// The plug-in's own keys.
constexpr uint32_t kKeyCodec = 30004;
constexpr uint32_t kKeyFourcc = 30005;
constexpr uint32_t kKeyBitDepth = 30006;

bool copyToHost(const PluginVideoBuffer& picture, VideoFrameBuffer& target) {
  mc_frame_t from{};
  from.width = picture.width;
  from.height = picture.height;
  from.four_cc = kFourCCNV12;
  for (size_t i = 0; i < 2; ++i) {
    from.plane[i] = static_cast<uint8_t*>(picture.plane[i]);
    from.stride[i] = static_cast<int32_t>(picture.stride[0]);
  }
  return VideoFrameNV12Utils::copyNV12toYV12(&from, &target.getFrame()) == kSuccess;
}

}  // namespace

VideoDecoderH264U30Host::VideoDecoderH264U30Host() : VideoDecoderPluginHost(kDecoderH264U30) {}

uint32_t VideoDecoderH264U30Host::initialize() {
  if (!givenUp && !work->plugin.offers(&pluginVideoDecoder::func_initialize)) return kSuccess;
  setParameterValue(kKeyCodec, int64_t{codec});
  setParameterValue(kKeyFourcc, int64_t{fourcc == kFourCCYV12 ? kFourCCNV12 : kFourCCHN12});
  setParameterValue(kKeyBitDepth, int64_t{bitDepth});
  return VideoDecoderPluginHost::initialize();
}

uint32_t VideoDecoderH264U30Host::decode(uint32_t* flags, uint8_t flush) {
  return step(flags, flush);
}

uint32_t VideoDecoderH264U30Host::getDecodedFrame(VideoFrameBuffer& frame) {
  return guarded(row.label, [&]() -> uint32_t {
    // The picture before it, where nobody took that.
    frame.releaseCardPicture();
    if (givenUp) return kFailure;
    if (!work->plugin.offers(&pluginVideoDecoder::func_getFrameBuffer)) return kSuccess;
    lastFramesDecoded = framesDecoded;
    work->picture = {};
    const uint32_t failed = status("getDecodedFrame", [](Work& it) {
      return it.plugin.ask(&pluginVideoDecoder::func_getFrameBuffer, &it.picture);
    });
    if (failed != 0) return failed;
    PluginVideoBuffer& picture = work->picture;
    if (!fill(frame, picture)) return refuse(frame, picture);
    frame.setFrameType(picture.frameType);
    frame.setTimecode(picture.timecode);
    frame.setDisplayWidth(static_cast<int32_t>(picture.width));
    frame.setDisplayHeight(static_cast<int32_t>(picture.height));
    frame.setFlags(picture.flags);
    frame.setLocations(VideoFrameBuffer::systemMem);
    return kSuccess;
  });
}

// A picture in host memory where a handle was asked for, or the other way round, is none that anybody could read.
bool VideoDecoderH264U30Host::fill(VideoFrameBuffer& frame, PluginVideoBuffer& picture) const {
  const bool onCard = frame.getFourCC() == kFourCCHN12;
  if (picture.four_cc == kFourCCNV12) {
    const bool fits = frame.getWidth() == picture.width && frame.getHeight() == picture.height;
    if (onCard || frame.getBuffer() == nullptr || !fits || !copyToHost(picture, frame)) return false;
    frame.setFourCC(kFourCCYV12);
    return true;
  }
  if (picture.four_cc != kFourCCHN12 || !onCard || picture.opaque_ == nullptr) return false;
  frame_tt& description = frame.getFrame();
  for (size_t i = 0; i < 4; ++i) {
    description.plane[i] = static_cast<uint8_t*>(picture.plane[i]);
    description.stride[i] = static_cast<int32_t>(picture.stride[i]);
  }
  U30FrameProviders::setHandle(frame, picture.opaque_);
  frame.setFourCC(kFourCCHN12);
  return true;
}

uint32_t VideoDecoderH264U30Host::refuse(const VideoFrameBuffer& frame, PluginVideoBuffer& picture) {
  if (picture.four_cc == kFourCCHN12) U30FrameProviders::release(picture.opaque_);
  if (std::has_single_bit(++refusals)) {
    getLogger()->error(
        kLogContextVideoDecoder, 0,
        fmt::format("{}.getDecodedFrame[{{context}}]: A frame of {}x{} in 0x{:x} can't take the "
                    "plug-in's picture of {}x{} in 0x{:x}",
                    row.className, frame.getWidth(), frame.getHeight(), frame.getFourCC(), picture.width,
                    picture.height, picture.four_cc));
  }
  return kFailure;
}

FrameAllocProvider VideoDecoderH264U30Host::getAllocProvider() {
  return U30FrameProviders::getAllocProvider();
}

FrameFreeProvider VideoDecoderH264U30Host::getFreeProvider() {
  return U30FrameProviders::getFreeProvider();
}

}  // namespace qvs

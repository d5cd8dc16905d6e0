// VP8 and VP9 in by libvpx: restart at key frames, frame sizes, colors, parameters.
#include "video/decoders/VideoDecoderVPX.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "contract/DecodeFlags.h"
#include "contract/StageIds.h"
#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "platform/Guard.h"
#include "video/decoders/VPXImageCopy.h"

namespace qvs {

VideoDecoderVPX::VideoDecoderVPX() {
  codec = kVideoCodecVPX;
  bufferList.reserve(1);
}

VideoDecoderVPX::~VideoDecoderVPX() {
  VideoDecoderVPX::close();
}

vpx_codec_iface_t* VideoDecoderVPX::codecInterface() const {
  return codecVersion == kVersionVP9 ? vpx_codec_vp9_dx() : vpx_codec_vp8_dx();
}

uint32_t VideoDecoderVPX::initialize() {
  return guarded("VideoDecoderVPX::initialize", [&]() -> uint32_t {
    close();
    vpx_codec_iface_t* codecInterface = this->codecInterface();
    const char* name = vpx_codec_iface_name(codecInterface);
    if (vpx_codec_dec_init(&decoderContext, codecInterface, nullptr, VPX_CODEC_USE_FRAME_THREADING) !=
        VPX_CODEC_OK) {
      getLogger()->warn(
          kLogContextVideoDecoder, 0,
          fmt::format("VideoDecoderVPX.initialize[{{context}}]: Error initializing VPX decoder: error: {}"
                      " version: {}",
                      static_cast<int>(decoderContext.err), name));
      decoderContext = {};
      return kFailure;
    }
    getLogger()->info(
        kLogContextVideoDecoder, 0,
        fmt::format("VideoDecoderVPX.initialize[{{context}}]: Initialize VPX decoder: {}", name));
    return kSuccess;
  });
}

uint32_t VideoDecoderVPX::close() {
  if (decoderContext.iface != nullptr) vpx_codec_destroy(&decoderContext);
  forgetImagePlanes();
  pictureSeen = spoiled = 0;
  return kSuccess;
}

uint32_t VideoDecoderVPX::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                   uint32_t frameType) {
  return guarded("VideoDecoderVPX::addFrame", [&]() -> uint32_t {
    bufferList.clear();
    bufferList.push_back({buffer != nullptr ? buffer + offset : nullptr, len, timecode, frameType});
    return kSuccess;
  });
}

uint32_t VideoDecoderVPX::decode(uint32_t* flags) {
  return guarded("VideoDecoderVPX::decode", [&]() -> uint32_t {
    *flags = DecodeFlagInputDone;
    if (decoderContext.iface == nullptr || bufferList.empty()) {
      bufferList.clear();
      return kSuccess;
    }
    const ByteBlock block = std::move(bufferList.front());
    bufferList.clear();
    ++frameCount;
    userData[0] = {block.timecode, block.frameType};
    forgetImagePlanes();
    // A corrupt unit gives no picture and no failure: the stream goes on with the next one.
    if (spoiled != 0) restartAtKeyFrame(block);
    const auto result = vpx_codec_decode(&decoderContext, block.buffer, block.len, &userData[0], 0);
    *flags |= takeImage();
    if (*flags & DecodeFlagFrameAvailable) pictureSeen = 1;
    if (result != VPX_CODEC_OK && pictureSeen == 0) spoiled = 1;
    return kSuccess;
  });
}

// Each damaged key frame before the first picture costs a VP9 decoder one of its few frame buffers for good:
// go on with a fresh one.
void VideoDecoderVPX::restartAtKeyFrame(const ByteBlock& block) {
  vpx_codec_stream_info_t info{};
  info.sz = sizeof info;
  vpx_codec_iface_t* codecInterface = this->codecInterface();
  vpx_codec_peek_stream_info(codecInterface, block.buffer, block.len, &info);
  vpx_codec_ctx_t fresh{};
  if (info.is_kf == 0 ||
      vpx_codec_dec_init(&fresh, codecInterface, nullptr, VPX_CODEC_USE_FRAME_THREADING) != VPX_CODEC_OK) {
    return;
  }
  vpx_codec_destroy(&decoderContext);
  decoderContext = fresh;
  spoiled = 0;
}

uint32_t VideoDecoderVPX::takeImage() {
  vpx_codec_iter_t iterator = nullptr;
  const vpx_image_t* image = vpx_codec_get_frame(&decoderContext, &iterator);
  if (image == nullptr) return 0;
  decodedImage = *image;
  if (vpx_codec_get_frame(&decoderContext, &iterator) != nullptr) {
    getLogger()->warn(kLogContextVideoDecoder, 0,
                      "VideoDecoderVPX.decode[{context}]: More than one decoded image pending");
  }
  return DecodeFlagPictureDone | DecodeFlagFrameAvailable;
}

void VideoDecoderVPX::forgetImagePlanes() {
  // libvpx may free or reuse them from now on; the sizes stay readable.
  std::fill(std::begin(decodedImage.planes), std::end(decodedImage.planes), nullptr);
  decodedImage.user_priv = nullptr;
}

uint32_t VideoDecoderVPX::getDecodedFrameSize(uint32_t* frameWidthOut, uint32_t* frameHeightOut,
                                              uint32_t* displayWidthOut, uint32_t* displayHeightOut) {
  if (decoderContext.iface == nullptr) return kSuccess;
  *frameWidthOut = *displayWidthOut = decodedImage.d_w;
  *frameHeightOut = *displayHeightOut = decodedImage.d_h;
  return kSuccess;
}

uint32_t VideoDecoderVPX::getDecodedFrame(VideoFrameBuffer& target) {
  return guarded("VideoDecoderVPX::getDecodedFrame", [&]() -> uint32_t {
    writeImage(target);
    if (decodedImage.user_priv != nullptr) {
      const auto& sent = *static_cast<const VPXDecodeUserData*>(decodedImage.user_priv);
      decodedFrameType = sent.frameType;
      decodedFrameTimecode = sent.timecode;
      target.setFrameType(sent.frameType);
      target.setTimecode(sent.timecode);
    }
    target.setDisplayWidth(static_cast<int32_t>(decodedImage.d_w));
    target.setDisplayHeight(static_cast<int32_t>(decodedImage.d_h));
    target.setLocations(VideoFrameBuffer::systemMem);
    setFrameWidth(decodedImage.d_w);
    setDisplayWidth(decodedImage.d_w);
    setFrameHeight(decodedImage.d_h);
    setDisplayHeight(decodedImage.d_h);
    setFrameRate(0.0);  // the stream tells none
    return kSuccess;
  });
}

void VideoDecoderVPX::writeImage(VideoFrameBuffer& target) {
  const bool plain = decodedImage.fmt == VPX_IMG_FMT_I420;
  if (!plain && (convertFormats == 0 || !VPXImageConversion::takes(decodedImage))) {
    reportFormat("Image format is not supported: ", static_cast<uint32_t>(decodedImage.fmt));
    return;
  }
  const bool written =
      plain ? VPXImageCopy::copy(decodedImage, target) : conversion.convert(decodedImage, target);
  if (!written) reportFormat("Frame format is not supported: ", target.getFourCC());
}

void VideoDecoderVPX::reportFormat(const char* text, uint32_t format) {
  if (showImageFormatError == 0) return;
  showImageFormatError = 0;
  getLogger()->warn(kLogContextVideoDecoder, 0,
                    fmt::format("VideoDecoderVPX.getDecodedFrame[{{context}}]: {}{}", text, format));
}

const ParameterRow<VideoDecoderVPX>* VideoDecoderVPX::parameterOf(uint32_t key) {
  using This = VideoDecoderVPX;
  static constexpr ParameterRow<This> kRows[] = {
      parameterField<This, &This::deinterlace>(kKeyDeinterlace),
      parameterField<This, &This::deinterlaceDoubleRate>(kKeyDeinterlaceDoubleRate),
      parameterField<This, &This::convertFormats>(kKeyConvertFormats),
  };
  return findParameter(kRows, key);
}

}  // namespace qvs

#pragma once

#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>

#include <array>
#include <vector>

#include "platform/ParameterTable.h"
#include "video/decoders/ByteBlock.h"
#include "video/decoders/VideoDecoderBase.h"
#include "video/decoders/VPXImageConversion.h"

namespace qvs {

/// What rides through libvpx with a coded frame and comes back with its picture.
struct VPXDecodeUserData {
  uint64_t timecode = 0;  ///< milliseconds
  uint32_t frameType = 0;
};

/// VP8 (codec version 8) and VP9 (9) by libvpx: one coded frame in, at most one picture out, no
/// configuration. Bad input yields no picture and no failure; the stream goes on with the next unit. Pictures
/// of another form than 8-bit 4:2:0 leave the target's planes as they are, unless `convertFormats` is set.
class VideoDecoderVPX : public WithParameters<VideoDecoderVPX, VideoDecoderBase> {
 public:
  static constexpr uint32_t kVersionVP9 = 9;  ///< every other version is taken for VP8
  static constexpr uint32_t kKeyDeinterlace = 0;
  static constexpr uint32_t kKeyDeinterlaceDoubleRate = 1;
  /// Extension: non-zero brings pictures of other depths and chroma shapes, and RGB, to 8-bit 4:2:0.
  static constexpr uint32_t kKeyConvertFormats = 100201;

  VideoDecoderVPX();
  ~VideoDecoderVPX() override;

  using VideoDecoderBase::decode;

  uint32_t initialize() override;
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t close() override;
  uint32_t decodeCodecConfig(uint8_t*, uint32_t, uint32_t) override { return 0; }
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;
  uint32_t decode(uint32_t* flags) override;
  uint8_t isFrameDone() override { return bufferList.empty() ? 1 : 0; }
  uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                               uint32_t* displayHeight) override;
  uint32_t getDecodedFrame(VideoFrameBuffer& target) override;
  static const ParameterRow<VideoDecoderVPX>* parameterOf(uint32_t key);

 private:
  vpx_codec_iface_t* codecInterface() const;
  void restartAtKeyFrame(const ByteBlock& block);
  uint32_t takeImage();
  void forgetImagePlanes();
  void writeImage(VideoFrameBuffer& target);
  void reportFormat(const char* text, uint32_t format);

  vpx_codec_ctx_t decoderContext{};               ///< its `iface` is null while the decoder is closed
  std::vector<ByteBlock> bufferList;              ///< at most one block
  uint64_t frameCount = 0;                        ///< units given to libvpx
  std::array<VPXDecodeUserData, 128> userData{};  ///< only the first serves: one frame is in flight at a time
  uint8_t showImageFormatError = 1;
  uint32_t convertFormats = 0;
  VPXImageConversion conversion;
  uint8_t pictureSeen = 0;     ///< some unit has given a picture since `initialize`
  uint8_t spoiled = 0;         ///< units failed before that
  vpx_image_t decodedImage{};  ///< header of the last image; its planes are libvpx's and cleared before the
                               ///< next decode
};

}  // namespace qvs

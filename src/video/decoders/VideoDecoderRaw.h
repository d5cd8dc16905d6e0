#pragma once

#include <optional>

#include "bufstream/UccInstance.h"
#include "platform/ParameterTable.h"
#include "video/decoders/ByteBlock.h"
#include "video/decoders/VideoDecoderBase.h"

namespace qvs {

/// Pictures that come decoded: 8-bit 4:2:0, planes Y, U, V behind each other. The configuration tells their
/// form in nine words of four bytes, least significant first; see RawPictureForm. One that is refused leaves
/// the one before at work; a good one holds from the next packet on.
///
/// A packet is one picture. One that is too short for its form gives none and is told as given up.
class VideoDecoderRaw : public WithParameters<VideoDecoderRaw, VideoDecoderBase> {
 public:
  static constexpr uint32_t kKeyDeinterlace = 0;

  /// The words of a configuration, in their order.
  struct RawPictureForm {
    uint32_t width;        ///< pixels of the planes, 1 to 16384
    uint32_t height;       ///< their rows, 1 to 16384
    uint32_t strideY;      ///< bytes from row to row, width or more
    uint32_t strideC;      ///< the same of U and V, half the width (rounded up) or more
    uint32_t left;         ///< of the part that is shown: even
    uint32_t top;          ///< even
    uint32_t shownWidth;   ///< 1 up to what is left of the width
    uint32_t shownHeight;  ///< 1 up to what is left of the height
    uint32_t frameFlags;   ///< kFrameFlagInterlaced, and with it kFrameFlagBottomFieldFirst
  };

  VideoDecoderRaw();

  using VideoDecoderBase::decode;

  uint32_t initialize() override { return 0; }
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t close() override;
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;
  uint32_t decode(uint32_t* flags) override;
  uint8_t isFrameDone() override { return queued ? 0 : 1; }
  uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                               uint32_t* displayHeight) override;
  uint32_t getDecodedFrame(VideoFrameBuffer& target) override;
  static const ParameterRow<VideoDecoderRaw>* parameterOf(uint32_t key);

 private:
  uint64_t bytesOf(const RawPictureForm& of) const;
  ucc_frame_t viewOfPicture() const;

  std::optional<RawPictureForm> form;
  std::optional<ByteBlock> queued;
  ByteBlock picture;             ///< what `decode` took; its bytes are borrowed, null when there is none
  RawPictureForm pictureForm{};  ///< of `picture`
  UccInstance converter;
};

}  // namespace qvs

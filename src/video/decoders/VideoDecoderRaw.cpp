// Pictures that a caller has decoded itself, brought into frames like those of any codec.
#include "video/decoders/VideoDecoderRaw.h"

#include <fmt/format.h>

#include <utility>

#include "contract/DecodeFlags.h"
#include "contract/FrameTypes.h"
#include "contract/StageIds.h"
#include "frames/geometry/UccFormat.h"
#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kSideMost = 16384;
constexpr uint32_t kStrideMost = 1 << 20;

uint32_t littleEndian(const uint8_t* bytes) {
  return bytes[0] | uint32_t{bytes[1]} << 8 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24;
}

constexpr uint32_t halfUp(uint32_t size) {
  return (size + 1) / 2;
}

bool isWithin(uint32_t value, uint32_t least, uint32_t most) {
  return value >= least && value <= most;
}

bool isPossible(const VideoDecoderRaw::RawPictureForm& form) {
  return isWithin(form.width, 1, kSideMost) && isWithin(form.height, 1, kSideMost) &&
         isWithin(form.strideY, form.width, kStrideMost) &&
         isWithin(form.strideC, halfUp(form.width), kStrideMost) && form.left % 2 == 0 && form.top % 2 == 0 &&
         form.left < form.width && form.top < form.height &&
         isWithin(form.shownWidth, 1, form.width - form.left) &&
         isWithin(form.shownHeight, 1, form.height - form.top);
}

}  // namespace

VideoDecoderRaw::VideoDecoderRaw() {
  codec = kVideoCodecRaw;
}

uint32_t VideoDecoderRaw::close() {
  form.reset();
  queued.reset();
  picture = {};
  return kSuccess;
}

uint32_t VideoDecoderRaw::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("VideoDecoderRaw::decodeCodecConfig", [&]() -> uint32_t {
    if (buffer == nullptr || len != sizeof(RawPictureForm)) {
      getLogger()->warn(
          kLogContextVideoDecoder, 0,
          fmt::format("VideoDecoderRaw.decodeCodecConfig[{{context}}]: Configuration must have {} "
                      "bytes: len:{}",
                      sizeof(RawPictureForm), len));
      return kFailure;
    }
    uint32_t words[sizeof(RawPictureForm) / sizeof(uint32_t)];
    for (uint32_t& word : words) word = littleEndian(buffer + offset + (&word - words) * sizeof word);
    const RawPictureForm told{words[0], words[1], words[2], words[3], words[4],
                              words[5], words[6], words[7], words[8]};
    if (!isPossible(told)) {
      getLogger()->warn(
          kLogContextVideoDecoder, 0,
          fmt::format(
              "VideoDecoderRaw.decodeCodecConfig[{{context}}]: Invalid form: planes:{}x{} stride:{} {} "
              "shown:{}x{} at:{} {}",
              told.width, told.height, told.strideY, told.strideC, told.shownWidth, told.shownHeight,
              told.left, told.top));
      return kFailure;
    }
    form = told;
    setFrameWidth(told.shownWidth);
    setFrameHeight(told.shownHeight);
    setDisplayWidth(told.shownWidth);
    setDisplayHeight(told.shownHeight);
    return kSuccess;
  });
}

uint32_t VideoDecoderRaw::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                   uint32_t frameType) {
  picture = {};  // its bytes go with this call
  queued = ByteBlock{buffer != nullptr ? buffer + offset : nullptr, buffer != nullptr ? len : 0, timecode,
                     frameType};
  return kSuccess;
}

// Rows of a plane may be followed by what fills its stride, but for the last row of V.
uint64_t VideoDecoderRaw::bytesOf(const RawPictureForm& of) const {
  const uint64_t chromaRows = halfUp(of.height);
  return uint64_t{of.strideY} * of.height + uint64_t{of.strideC} * (2 * chromaRows - 1) + halfUp(of.width);
}

uint32_t VideoDecoderRaw::decode(uint32_t* flags) {
  return guarded("VideoDecoderRaw::decode", [&]() -> uint32_t {
    *flags = DecodeFlagInputDone;
    picture = {};
    if (!queued) return kSuccess;
    ByteBlock taken = std::move(*queued);
    queued.reset();
    if (!form || taken.len < bytesOf(*form)) {
      *flags |= DecodeFlagAborted;
      getLogger()->warn(kLogContextVideoDecoder, 0,
                        fmt::format("VideoDecoderRaw.decode[{{context}}]: {}: len:{} timecode:{}",
                                    form ? "Packet is too short for its picture"
                                         : "No picture before a codec configuration",
                                    taken.len, taken.timecode));
      return kSuccess;
    }
    picture = std::move(taken);
    pictureForm = *form;
    *flags |= DecodeFlagPictureDone | DecodeFlagFrameAvailable;
    return kSuccess;
  });
}

uint32_t VideoDecoderRaw::getDecodedFrameSize(uint32_t* frameWidthOut, uint32_t* frameHeightOut,
                                              uint32_t* displayWidthOut, uint32_t* displayHeightOut) {
  *frameWidthOut = *displayWidthOut = frameWidth;
  *frameHeightOut = *displayHeightOut = frameHeight;
  return kSuccess;
}

// The shown part. The converter reads it only.
ucc_frame_t VideoDecoderRaw::viewOfPicture() const {
  const RawPictureForm& of = pictureForm;
  const size_t chroma = size_t{of.top} / 2 * of.strideC + of.left / 2;
  uint8_t* const u = picture.buffer + size_t{of.strideY} * of.height;
  ucc_frame_t view{};
  setUCCColorimetry(&view);
  view.pixel_format = UCC_FORMAT_I420;
  view.width = of.shownWidth;
  view.height = of.shownHeight;
  view.progressive_frame_flag = (of.frameFlags & kFrameFlagInterlaced) == 0;
  view.bottom_field_first_flag = (of.frameFlags & kFrameFlagBottomFieldFirst) != 0;
  view.plane[0] = picture.buffer + size_t{of.top} * of.strideY + of.left;
  view.plane[1] = u + chroma;
  view.plane[2] = u + size_t{of.strideC} * halfUp(of.height) + chroma;
  view.stride[0] = static_cast<int32_t>(of.strideY);
  view.stride[1] = view.stride[2] = static_cast<int32_t>(of.strideC);
  return view;
}

uint32_t VideoDecoderRaw::getDecodedFrame(VideoFrameBuffer& target) {
  return guarded("VideoDecoderRaw::getDecodedFrame", [&]() -> uint32_t {
    if (picture.buffer == nullptr) return kFailure;
    if (!converter) converter.reset(UCC_Create(0));
    ucc_frame_t source = viewOfPicture(), to{};
    const bool whole = deinterlace != 0 && source.progressive_frame_flag == 0;
    ucc_config_t config{};
    config.deinterlacing_method_idc =
        whole ? UCC_DEINTERLACING_INTERFIELD_INTERPOLATION : UCC_DEINTERLACING_NONE;
    if (!converter || target.getWidth() != source.width || target.getHeight() != source.height ||
        uccViewOfFrame(&to, target.getFrame()) == 0 ||
        UCC_Transform(converter.get(), &to, &source, &config) != 0) {
      getLogger()->error(
          kLogContextVideoDecoder, 0,
          "VideoDecoderRaw.getDecodedFrame[{context}]: The picture fits no frame of the session");
      return kFailure;
    }
    decodedFrameType = picture.frameType;
    decodedFrameTimecode = picture.timecode;
    decodedFrameFlags = whole ? 0 : pictureForm.frameFlags;
    target.setFrameType(picture.frameType);
    target.setTimecode(picture.timecode);
    target.setFlags(decodedFrameFlags);
    target.setDisplayWidth(static_cast<int32_t>(source.width));
    target.setDisplayHeight(static_cast<int32_t>(source.height));
    target.setLocations(VideoFrameBuffer::systemMem);
    setFrameRate(0.0);  // the pictures' times tell
    return kSuccess;
  });
}

const ParameterRow<VideoDecoderRaw>* VideoDecoderRaw::parameterOf(uint32_t key) {
  using This = VideoDecoderRaw;
  static constexpr ParameterRow<This> kRows[] = {
      parameterField<This, &This::deinterlace>(kKeyDeinterlace),
  };
  return findParameter(kRows, key);
}

}  // namespace qvs

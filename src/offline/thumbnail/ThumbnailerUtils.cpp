// Out of the decoder, into a picture of the size wanted.
#include "offline/thumbnail/ThumbnailerUtils.h"

#include <mc_dec_video.h>
#include <mc_decoder_codes.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "bufstream/UccInstance.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/UccFormat.h"
#include "offline/thumbnail/ThumbnailPlacement.h"
#include "platform/Status.h"

namespace qvs {
namespace {

constexpr uint32_t kNoConverter = 1;
constexpr uint32_t kRowsOfHd = 720;
constexpr int kMatrixReserved = 3;
constexpr int kMatrixLast = 14;

/// What a picture says, else what players take pictures of its height for.
ucc_colorimetry_t colorsOf(const mc_pic_params_ex_t* told, uint32_t height) {
  const int32_t matrix = told != nullptr ? told->matrix_coefficients : MATRIX_COEFFICIENTS_UNSPECIFIED;
  const bool isTold = matrix > 0 && matrix <= kMatrixLast && matrix != MATRIX_COEFFICIENTS_UNSPECIFIED &&
                      matrix != kMatrixReserved;
  const uint32_t usual = height >= kRowsOfHd ? MATRIX_COEFFICIENTS_BT709_6 : MATRIX_COEFFICIENTS_BT601_6;
  const bool full = told != nullptr && told->video_full_range == 1;
  // Primaries and transfer aren't converted.
  return {COLOR_PRIMARIES_UNSPECIFIED, TRANSFER_CHARACTERISTICS_UNSPECIFIED,
          isTold ? static_cast<uint32_t>(matrix) : usual,
          static_cast<uint32_t>(full ? PIC_SIGNAL_RANGE_FULL : PIC_SIGNAL_RANGE_SHORT)};
}

/// 12 bits a pixel.
size_t blockBytes(PixelSize size) {
  return size_t{size.width} * size.height * 12 / 8;
}

void layOver(uint8_t* block, PixelSize size, frame_tt& picture) {
  const size_t luma = size_t{size.width} * size.height;
  const size_t chroma = size_t{size.height / 2} * (size.width / 2);
  picture = {};
  picture.width = size.width;
  picture.height = size.height;
  picture.four_cc = kFourCCYV12;
  picture.plane[0] = block;
  picture.plane[1] = block + luma;
  picture.plane[2] = block + luma + chroma;
  picture.stride[0] = static_cast<int32_t>(size.width);
  picture.stride[1] = picture.stride[2] = static_cast<int32_t>(size.width / 2);
}

constexpr int kFractionBits = 8;

/// The converter's fixed point, last column and row included.
ucc_rect_t uccRect(const PixelRect& rect) {
  const auto fixed = [](int64_t pixels) { return static_cast<int32_t>(pixels << kFractionBits); };
  return {fixed(rect.x), fixed(rect.y), fixed(rect.x + rect.width - 1), fixed(rect.y + rect.height - 1)};
}

void viewOfResponse(const ThumbnailerResponseData& response, ucc_frame_t& view) {
  initUCCFrame(&view, UCC_FORMAT_BGRA, static_cast<uint32_t>(response.width),
               static_cast<uint32_t>(response.height), response.pictureData);
  view.colorimetry.signal_range = PIC_SIGNAL_RANGE_FULL;
  view.progressive_frame_flag = 1;
}

bool allocate(PixelSize size, ThumbnailerResponseData& response) {
  response.width = static_cast<int32_t>(size.width);
  response.height = static_cast<int32_t>(size.height);
  response.pictureDataLen = size.width * size.height * 4;  // at most 1 GiB
  response.pictureData = static_cast<uint8_t*>(std::calloc(response.pictureDataLen, 1));
  if (response.pictureData == nullptr) response.pictureDataLen = 0;
  return response.pictureData != nullptr;
}

void discard(ThumbnailerResponseData& response) {
  std::free(std::exchange(response.pictureData, nullptr));
  response.pictureDataLen = 0;
}

}  // namespace

uint32_t ThumbnailerUtils::decoderToFrame(BufStreamDecoder& decoder, ThumbnailerFrame& frame, uint32_t flags,
                                          PixelSize size) {
  constexpr uint32_t kPicture = PIC_DECODED_FLAG | PIC_VALID_FLAG;
  if ((flags & kPicture) != kPicture || blockBytes(size) == 0) return kFailure;
  if (!(size == frame.blockSize)) {
    frame.hasPicture = false;
    frame.block.reset(static_cast<uint8_t*>(std::malloc(blockBytes(size))));
    frame.blockSize = frame.block != nullptr ? size : PixelSize{};
    if (frame.block == nullptr) return kFailure;
  }
  std::memset(frame.block.get(), 0, blockBytes(size));
  layOver(frame.block.get(), size, frame.picture);
  frame.colors = colorsOf(decoder.ask<mc_pic_params_ex_t>(GET_PIC_PARAMSPEX), size.height);
  frame.hasPicture = decoder.send(GET_PIC, 0, &frame.picture, sizeof frame.picture) == 0;
  return frame.hasPicture ? kSuccess : kFailure;
}

uint32_t ThumbnailerUtils::frameToRGBA(const ThumbnailerFrame& frame, const ThumbnailerRequestData& request,
                                       ThumbnailerResponseData& response) {
  if (!frame.hasPicture) return kFailure;
  const auto placement = placeThumbnail({frame.picture.width, frame.picture.height}, request);
  if (!placement || !allocate(placement->size, response)) return kFailure;
  if (placement->hasTarget && blackFill(response) != 0) return kNoConverter;
  const UccInstance converter(UCC_Create(0));
  if (converter == nullptr) return kNoConverter;

  ucc_frame_t source;
  uccViewOfFrame(&source, frame.picture);
  source.colorimetry = frame.colors;
  ucc_frame_t target{};
  viewOfResponse(response, target);
  const ucc_rect_t from = uccRect(placement->source);
  const ucc_rect_t into = uccRect(placement->target);
  ucc_config_t config{};
  config.source_rect = placement->hasSource ? &from : nullptr;
  config.target_rect = placement->hasTarget ? &into : nullptr;
  if (UCC_Transform(converter.get(), &target, &source, &config) == 0) return kSuccess;
  discard(response);
  return kFailure;
}

uint32_t ThumbnailerUtils::blackFill(ThumbnailerResponseData& response) {
  constexpr uint32_t kSide = 16;
  uint8_t black[kSide * kSide * 3] = {};
  const UccInstance converter(UCC_Create(0));
  if (converter == nullptr) return kNoConverter;
  ucc_frame_t source{};
  initUCCFrame(&source, UCC_FORMAT_BGR3, kSide, kSide, black);
  source.colorimetry.signal_range = PIC_SIGNAL_RANGE_FULL;
  ucc_frame_t target{};
  viewOfResponse(response, target);
  return UCC_Transform(converter.get(), &target, &source, nullptr) == kUccNoMemory ? kNoConverter : kSuccess;
}

}  // namespace qvs

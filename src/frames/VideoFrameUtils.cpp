// One-off format conversions of tightly packed pictures.
#include "frames/VideoFrameUtils.h"

#include "bufstream/UccInstance.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/UccFormat.h"

namespace qvs {
namespace {

/// `source` into a tight picture of the same size at `target`.
uint32_t convertTight(const ucc_frame_t& source, uint8_t* target, uint32_t targetFormat) {
  const UccInstance converter(UCC_Create(0));
  ucc_frame_t targetView{};
  if (!converter || initUCCFrame(&targetView, targetFormat, source.width, source.height, target) == 0)
    return 1;
  setUCCColorimetry(&targetView);
  const ucc_config_t config{};
  return UCC_Transform(converter.get(), &targetView, &source, &config) == 0 ? 0 : 1;
}

uint32_t convertTight(const uint8_t* source, uint32_t sourceFourCC, uint8_t* target, uint32_t targetFormat,
                      uint32_t width, uint32_t height) {
  frame_tt frame{};
  ucc_frame_t tight{};
  uint32_t format = 0;
  if (fourCCtoUCCFormat(sourceFourCC, &format) == 0) return 1;
  // Only read: the converter's records have no form for that.
  if (initUCCFrame(&tight, format, width, height, const_cast<uint8_t*>(source)) == 0) return 1;
  frame.width = width;
  frame.height = height;
  frame.four_cc = sourceFourCC;
  for (int i = 0; i < 4; ++i) {
    frame.plane[i] = tight.plane[i];
    frame.stride[i] = tight.stride[i];
  }
  ucc_frame_t sourceView;
  if (uccViewOfFrame(&sourceView, frame) == 0) return 1;
  return convertTight(sourceView, target, targetFormat);
}

}  // namespace

uint32_t VideoFrameUtils::uccConvertFOURCCToBGRA(const uint8_t* source, uint8_t* target, uint32_t width,
                                                 uint32_t height, uint32_t fourcc) {
  return convertTight(source, fourcc, target, UCC_FORMAT_BGRA, width, height);
}

uint32_t VideoFrameUtils::uccConvertBGRAToVUYA(const uint8_t* source, uint8_t* target, uint32_t width,
                                               uint32_t height) {
  return convertTight(source, kFourCCBGRA, target, UCC_FORMAT_VUYA, width, height);
}

uint32_t VideoFrameUtils::uccConvertToVUYA(const ucc_frame_t& source, uint8_t* target) {
  return convertTight(source, target, UCC_FORMAT_VUYA);
}

uint32_t VideoFrameUtils::uccConvertToBGRA(const ucc_frame_t& source, uint8_t* target) {
  return convertTight(source, target, UCC_FORMAT_BGRA);
}

}  // namespace qvs

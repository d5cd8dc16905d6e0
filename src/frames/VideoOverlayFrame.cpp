// An overlay's image: whether its bytes cover it, its transparency and its "VUYA" copy.
#include "frames/VideoOverlayFrame.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "frames/geometry/ColorspaceInfo.h"
#include "frames/geometry/UccFormat.h"
#include "frames/VideoFrameUtils.h"
#include "frames/VideoScaleSetData.h"

namespace qvs {
namespace {

constexpr uint32_t kPackedPixelBytes = 4;
constexpr uint32_t kAlphaByte = 3;

uint64_t nextContentId() {
  static std::atomic<uint64_t> last{0};
  return ++last;  // 0 means none to the converter
}

}  // namespace

VideoOverlayFrame::VideoOverlayFrame(uint32_t fourcc, uint8_t* buffer, uint32_t bufferLen, uint32_t stride,
                                     uint32_t frameStartOffset, uint32_t width, uint32_t height)
    : blender(UCC_Create(0)) {
  setFrame(fourcc, buffer, bufferLen, stride, frameStartOffset, width, height);
  overlayframe.dstAlign = kAlignLeft | kAlignTop;
}

void VideoOverlayFrame::setFrame(uint32_t fourcc, uint8_t* buffer, uint32_t bufferLen, uint32_t stride,
                                 uint32_t frameStartOffset, uint32_t width, uint32_t height) {
  VideoOverlayFrameData data;
  data.buffer = adoptMallocedMemory(buffer);
  data.fourcc = fourcc;
  data.bufferLen = bufferLen;
  data.stride = stride;
  data.frameStartOffset = frameStartOffset;
  data.width = width;
  data.height = height;
  overlayframe = std::move(data);
  scaleOverlayDataCUDA = {};
  contentId = nextContentId();
  reported = false;
  shape = describe();
  if (fourcc == kFourCCBGRA && buffer != nullptr) transparent = hasTransparentPixel();
}

void VideoOverlayFrame::setDestinationLocation(int32_t dstX, int32_t dstY, uint32_t dstWidth,
                                               uint32_t dstHeight, uint32_t dstAlign) {
  overlayframe.dstX = dstX;
  overlayframe.dstY = dstY;
  overlayframe.dstWidth = dstWidth;
  overlayframe.dstHeight = dstHeight;
  overlayframe.dstAlign = dstAlign;
}

VideoOverlayFrame::Shape VideoOverlayFrame::describe() {
  const VideoOverlayFrameData& data = overlayframe;
  mc_frame_colorspace_info_t info;
  if (get_frame_colorspace_info(&info, data.width, data.height, data.fourcc) != 0) return Shape::kRefused;
  const auto stride = static_cast<int32_t>(data.stride);
  const int32_t strides[4] = {stride, 0, 0, 0};
  const bool rowsOverlap = stride != 0 && std::llabs(stride) < info.stride[0];
  if (get_frame_colorspace_info(&info, data.width, data.height, data.fourcc, strides) != 0 || rowsOverlap) {
    return Shape::kShort;
  }
  if (!isCovered(info)) return Shape::kShort;

  frame_tt image{};
  image.width = data.width;
  image.height = data.height;
  image.four_cc = data.fourcc;
  for (uint32_t i = 0; i < info.planes; ++i) {
    image.plane[i] = data.buffer.get() + data.frameStartOffset + info.plane_offset[i];
    image.stride[i] = info.stride[i];
  }
  return uccViewOfFrame(&view, image) != 0 ? Shape::kSound : Shape::kRefused;
}

bool VideoOverlayFrame::isCovered(const mc_frame_colorspace_info_t& info) const {
  const VideoOverlayFrameData& data = overlayframe;
  int32_t rowBytes[4];
  if (!data.buffer || get_plane_offsets_in_bytes(rowBytes, data.width, 0, data.fourcc, info.stride) != 0) {
    return false;
  }
  for (uint32_t i = 0; i < info.planes; ++i) {
    // A bottom-up image goes from its first row towards the start of its bytes.
    const int64_t first = int64_t{data.frameStartOffset} + info.plane_offset[i];
    const int64_t last = first + int64_t{info.stride[i]} * (int64_t{info.plane_height[i]} - 1);
    if (std::min(first, last) < 0 || std::max(first, last) + rowBytes[i] > data.bufferLen) return false;
  }
  return true;
}

bool VideoOverlayFrame::hasTransparentPixel() const {
  if (shape != Shape::kSound) return false;
  for (uint32_t y = 0; y < view.height; ++y) {
    const uint8_t* row = view.plane[0] + int64_t{view.stride[0]} * y;
    for (uint32_t x = 0; x < view.width; ++x) {
      if (row[x * kPackedPixelBytes + kAlphaByte] < 255) return true;
    }
  }
  return false;
}

void VideoOverlayFrame::convertFrameToVUYA() {
  const bool wanted = overlayframe.fourcc != kFourCCVUYA && shape == Shape::kSound;
  if (overlayframe.bufferYUVA || !wanted) return;
  const uint64_t bytes = uint64_t{kPackedPixelBytes} * overlayframe.width * overlayframe.height;
  FrameMemory converted = makeFrameMemory(bytes, false);
  if (!converted) return;
  if (VideoFrameUtils::uccConvertToVUYA(view, converted.get()) != 0) return;
  overlayframe.bufferYUVA = std::move(converted);
  overlayframe.bufferYUVALen = static_cast<uint32_t>(bytes);
}

uint32_t VideoOverlayFrame::getScaleImplementation() const {
  return scaleSetData != nullptr ? scaleSetData->implementation : uint32_t{kScaleCPU};
}

bool VideoOverlayFrame::takeReport() {
  return !std::exchange(reported, true);
}

}  // namespace qvs

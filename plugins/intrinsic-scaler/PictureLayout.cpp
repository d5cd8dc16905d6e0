// Where the planes of the formats that the plug-in takes lie in their block of bytes.
#include "PictureLayout.h"

namespace qvs::intrinsic {
namespace {

struct Format {
  uint32_t fourcc;
  bool pairs;   // U and V interleaved in one plane
  bool vFirst;  // V lies before U
};

constexpr Format kFormats[] = {
    {VIDEO_SCALER_FOURCC('Y', 'V', '1', '2'), false, true},
    {VIDEO_SCALER_FOURCC('I', '4', '2', '0'), false, false},
    {VIDEO_SCALER_FOURCC('I', 'Y', 'U', 'V'), false, false},
    {VIDEO_SCALER_FOURCC('N', 'V', '1', '2'), true, false},
};

const Format* formatOf(uint32_t fourcc) {
  for (const Format& format : kFormats) {
    if (format.fourcc == fourcc) return &format;
  }
  return nullptr;
}

// Sizes beyond this can't be pictures; below it no product of sizes leaves 64 bits.
constexpr uint32_t kMaxSide = 1u << 20;

bool holds(const VideoFrameIntrinsicScalerFrame& frame, uint32_t pixelBytes) {
  return frame.plane != nullptr && frame.width >= 1 && frame.width <= kMaxSide && frame.height >= 1 &&
         frame.height <= kMaxSide && frame.stride >= uint64_t{frame.width} * pixelBytes;
}

}  // namespace

bool layOut(const VideoFrameIntrinsicScalerFrame& frame, PictureLayout* layout) {
  const Format* format = formatOf(frame.fourcc);
  if (format == nullptr || !holds(frame, 1)) return false;

  layout->y = static_cast<uint8_t*>(frame.plane);
  layout->chromaStride = format->pairs ? frame.stride : frame.stride / 2;
  layout->chromaWidth = frame.width / 2;
  layout->chromaHeight = frame.height / 2;
  layout->chromaStep = format->pairs ? 2 : 1;
  uint8_t* first = layout->y + size_t{frame.stride} * frame.height;
  uint8_t* second = first + (format->pairs ? 1 : layout->chromaStride * layout->chromaHeight);
  layout->u = format->vFirst ? second : first;
  layout->v = format->vFirst ? first : second;
  return true;
}

bool isOverlay(const VideoFrameIntrinsicScalerFrame& frame) {
  return frame.fourcc == VIDEO_SCALER_FOURCC('V', 'U', 'Y', 'A') && holds(frame, 4);
}

}  // namespace qvs::intrinsic

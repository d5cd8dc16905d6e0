// Overlay objects as a server's bytes make them: any format, geometry that the bytes may not cover, any place
// and size on the picture.

#include <cstdlib>
#include <cstring>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"
#include "frames/VideoOverlayFrame.h"
#include "FuzzInput.h"

namespace {

using namespace qvs;
using fuzz::FuzzInput;

constexpr uint32_t kLargestImage = 1u << 16;  ///< bytes

/// Mostly plausible values, now and then any 32 bits.
uint32_t dimension(FuzzInput& input) {
  const auto kind = input.take<uint8_t>();
  return kind < 240 ? input.take<uint8_t>() : input.take<uint32_t>();
}

VideoOverlayFrame* takeOverlay(FuzzInput& input) {
  static constexpr uint32_t kFormats[] = {fourcc("BGRA"), fourcc("ARGB"), fourcc("VUYA"),
                                          fourcc("YV12"), fourcc("BGR3"), fourcc("YUY2")};
  const auto kind = input.take<uint8_t>();
  const uint32_t format = kind < 250 ? kFormats[kind % std::size(kFormats)] : input.take<uint32_t>();
  uint32_t stride = dimension(input);
  if (kind >= 200 && kind < 250) stride = 0u - stride;  // bottom-up
  const uint32_t offset = dimension(input);
  const uint32_t width = dimension(input), height = dimension(input);
  const uint32_t x = dimension(input), y = dimension(input);
  const uint32_t targetWidth = dimension(input), targetHeight = dimension(input);
  const uint32_t align = input.take<uint8_t>();
  const auto fill = input.take<uint16_t>();
  const uint32_t length = input.take<uint32_t>() % kLargestImage;
  const auto content = input.bytes(fill);
  auto* image = static_cast<uint8_t*>(std::malloc(length ? length : 1));
  std::memset(image, 0x5A, length);
  if (!content.empty()) std::memcpy(image, content.data(), std::min<size_t>(content.size(), length));
  auto* overlay = new VideoOverlayFrame(format, image, length, stride, offset, width, height);
  overlay->setDestinationLocation(static_cast<int32_t>(x), static_cast<int32_t>(y), targetWidth, targetHeight,
                                  align);
  return overlay;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr uint32_t kPictures[] = {fourcc("YV12"), fourcc("I420"), fourcc("NV12"), fourcc("BGRA")};
  FuzzInput input(data, size);
  VideoFrameBufferSet set;
  set.setScaleFlags(input.take<uint8_t>() & 1);
  set.initialize(1);
  auto& frame = *set.getVideoFrameBuffer(0);
  const uint32_t width = 1 + input.take<uint8_t>(), height = 1 + input.take<uint8_t>();
  frame.allocBuffer(width, height, kPictures[input.take<uint8_t>() % std::size(kPictures)]);
  for (uint32_t count = 1 + input.take<uint8_t>() % 3; count > 0; --count) {
    set.getOverlayFrames().putFrame(input.take<uint8_t>() % 4, takeOverlay(input));
  }
  set.applyOverlays(frame, set.getOverlayFrames());
  set.applyOverlays(frame, set.getOverlayFrames());  // from what the first pass kept
  return 0;
}

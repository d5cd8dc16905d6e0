// Crop, source rectangle, padding, destination rectangle, fit mode and sizes of one transfer from frame to
// frame, with the scale flags that make the CPU honour them.

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"
#include "FuzzInput.h"

namespace {

using namespace qvs;
using fuzz::FuzzInput;

constexpr uint32_t kLargestSide = 160;

void takeRectangle(FuzzInput& input, VideoFrameBuffer& frame,
                   void (VideoFrameBuffer::*set)(const uint32_t* rect)) {
  const uint32_t rect[4] = {input.take<uint32_t>(), input.take<uint32_t>(), input.take<uint32_t>(),
                            input.take<uint32_t>()};
  (frame.*set)(rect);
}

void takeStorage(FuzzInput& input, VideoFrameBuffer& frame) {
  // The first five are the corpus's; behind them are those without a storage rule, and odd groups.
  static constexpr uint32_t kFormats[] = {fourcc("YV12"), fourcc("I420"), fourcc("NV12"), fourcc("BGRA"),
                                          fourcc("YUY2"), fourcc("YV16"), fourcc("BGR3"), fourcc("v210"),
                                          fourcc("AYUV"), fourcc("VUYA"), fourcc("Y210"), fourcc("R565"),
                                          fourcc("Y41P"), fourcc("P010"), fourcc("P210")};
  const uint32_t width = 1 + input.take<uint16_t>() % kLargestSide;
  const uint32_t height = 1 + input.take<uint16_t>() % kLargestSide;
  frame.allocBuffer(width, height, kFormats[input.take<uint8_t>() % std::size(kFormats)]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input(data, size);
  VideoFrameBufferSet sources, targets;
  sources.setScaleFlags(input.take<uint32_t>());
  sources.initialize(1);
  targets.initialize(1);
  auto& source = *sources.getVideoFrameBuffer(0);
  auto& target = *targets.getVideoFrameBuffer(0);
  takeStorage(input, source);
  takeStorage(input, target);
  source.setDisplayWidth(static_cast<int32_t>(input.take<uint16_t>()));
  source.setDisplayHeight(static_cast<int32_t>(input.take<uint16_t>()));
  target.setFitMode(input.take<uint8_t>() % 6);
  const auto which = input.take<uint8_t>();
  if (which & 1) takeRectangle(input, target, &VideoFrameBuffer::setCrop);
  if (which & 2) takeRectangle(input, target, &VideoFrameBuffer::setSrcRect);
  if (which & 4) takeRectangle(input, target, &VideoFrameBuffer::setPadding);
  if (which & 8) takeRectangle(input, target, &VideoFrameBuffer::setDstRect);
  target.transferFrame(source, (which & 16) != 0);
  target.transferFrame(source, false);  // what is remembered of the first pass must not mislead the second
  return 0;
}

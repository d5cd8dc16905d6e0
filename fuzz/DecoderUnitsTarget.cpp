// Access units into the decoders, pictures fetched. Input: one byte for the codec, one for the options, the
// configuration behind its length in two bytes, then units, each behind its length in two bytes.

#include <utility>
#include <vector>

#include "contract/DecodeFlags.h"
#include "DecoderChoice.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "FuzzInput.h"
#include "video/decoders/VideoDecoderBufferStream.h"

namespace {

using namespace qvs;

constexpr int kMostUnits = 24;
constexpr int kMostDrained = 24;
constexpr uint64_t kMostPixels = 1 << 21;  ///< huge pictures only cost time here

void fetch(IVideoDecoder& decoder, VideoFrameBuffer& frame, uint32_t flags) {
  if ((flags & DecodeFlagFrameAvailable) == 0 || (flags & DecodeFlagFrameNotReady) != 0) return;
  uint32_t width = 0, height = 0, displayWidth = 0, displayHeight = 0;
  decoder.getDecodedFrameSize(&width, &height, &displayWidth, &displayHeight);
  if (width != 0 && height != 0 && uint64_t{width} * height < kMostPixels)
    frame.allocBuffer(width, height, frame.getFourCC() != 0 ? frame.getFourCC() : kFourCCYV12);
  decoder.getDecodedFrame(frame);
  if (decoder.getDeinterlaceDoubleRate() != 0) decoder.getDecodedFrame(frame);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::FuzzInput input(data, size);
  const auto decoder = fuzz::makeDecoder(input.take<uint8_t>());
  const auto options = input.take<uint8_t>();
  decoder->setParameterValue(VideoDecoderBufferStream::kKeyDeinterlace, int64_t{options & 1});
  decoder->setParameterValue(VideoDecoderBufferStream::kKeyDeinterlaceDoubleRate, int64_t{options >> 1 & 1});
  VideoFrameBuffer frame;
  frame.allocBuffer(48, 32, (options & 4) != 0 ? kFourCCNV12 : kFourCCYV12);
  const auto taken = [&] {
    const auto bytes = input.bytes(input.take<uint16_t>());
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
  };
  auto config = taken();
  decoder->decodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size()));
  uint32_t flags = 0;
  std::vector<uint8_t> unit;
  for (int count = 0; count < kMostUnits && !input.empty(); ++count) {
    auto next = taken();
    decoder->addFrame(next.data(), 0, static_cast<uint32_t>(next.size()), static_cast<uint64_t>(count) * 40,
                      count == 0 ? 1 : count % 4);
    unit = std::move(next);  // the bytes of the one before go when the next one has been added
    if ((options & 8) != 0 && count % 3 != 2) continue;
    do {
      decoder->decode(&flags);
      fetch(*decoder, frame, flags);
    } while (decoder->isFrameDone() == 0);
  }
  decoder->setParameterValue(VideoDecoderBufferStream::kKeyEndOfStream, int64_t{1});
  for (int count = 0; count < kMostDrained && (flags & DecodeFlagFlushed) == 0; ++count) {
    decoder->decode(&flags);
    fetch(*decoder, frame, flags);
  }
  return 0;
}

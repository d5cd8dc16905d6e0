#include "video/decoders/DecoderHarness.h"

#include "contract/DecodeFlags.h"
#include "video/decoders/VideoDecoderH264.h"
#include "video/decoders/VideoDecoderH265.h"
#include "video/decoders/VideoDecoderMP2.h"
#include "video/decoders/VideoDecoderMP4.h"
#include "video/decoders/VideoDecoderVPX.h"

namespace qvs::test {

std::unique_ptr<IVideoDecoder> makeDecoder(uint32_t codec, bool initialize, uint32_t version) {
  std::unique_ptr<IVideoDecoder> decoder;
  if (codec == 7) decoder = std::make_unique<VideoDecoderH264>();
  if (codec == 12) decoder = std::make_unique<VideoDecoderH265>();
  if (codec == 11) decoder = std::make_unique<VideoDecoderMP2>();
  if (codec == 10 || codec == 9 || codec == 2) decoder = std::make_unique<VideoDecoderMP4>();
  if (codec == 8) decoder = std::make_unique<VideoDecoderVPX>();
  decoder->setCodecAndVersion(codec, version);
  if (initialize && decoder->initialize() != 0) decoder.reset();
  return decoder;
}

void DecoderHarness::config(MediaBytes bytes) {
  configResult = decoder.decodeCodecConfig(bytes.data(), 0, static_cast<uint32_t>(bytes.size()));
}

void DecoderHarness::take(uint32_t status) {
  const bool picture = (status & DecodeFlagFrameAvailable) != 0 && (status & DecodeFlagFrameNotReady) == 0;
  const bool error = (status & DecodeFlagFrameError) != 0;
  counts.refused += error && !picture;
  counts.concealed += error && picture;
  counts.aborted += (status & DecodeFlagAborted) != 0;
  if (!picture) return;
  ++counts.pictures;
  uint32_t width = 0, height = 0, displayWidth = 0, displayHeight = 0;
  decoder.getDecodedFrameSize(&width, &height, &displayWidth, &displayHeight);
  if (width == 0 || height == 0 || frame.allocBuffer(width, height, fourCC) != 0) return;
  if (decoder.getDecodedFrame(frame) == 0) onPicture(frame);
}

uint32_t DecoderHarness::feed(MediaBytes& bytes, uint64_t timecode, uint32_t frameType) {
  ++counts.units;
  decoder.addFrame(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), timecode, frameType);
  uint32_t all = 0;
  do {
    uint32_t status = 0;
    decoder.decode(&status);
    take(status);
    all |= status;
  } while (decoder.isFrameDone() == 0);
  return all;
}

void DecoderHarness::drain() {
  decoder.setParameterValue(VideoDecoderBufferStream::kKeyEndOfStream, int64_t{1});
  for (int left = 64; left != 0; --left) {
    uint32_t status = 0;
    decoder.decode(&status);
    take(status);
    if ((status & DecodeFlagFlushed) != 0) break;
  }
  decoder.setParameterValue(VideoDecoderBufferStream::kKeyEndOfStream, int64_t{0});
}

void DecoderHarness::run(MediaStream& stream) {
  config(stream.getConfig());
  MediaUnit unit;
  while (stream.next(unit)) feed(unit.bytes, unit.timecode, unit.frameType);
  drain();
}

}  // namespace qvs::test

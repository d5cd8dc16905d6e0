#pragma once

#include "support/DecodedPicture.h"
#include "video/decoders/DecoderHarness.h"
#include "video/decoders/UnitStream.h"

namespace qvs::test {

struct Picture {
  uint64_t timecode;
  uint32_t width, height, frameType;
  uint64_t flags;
  MediaBytes bytes;
};

/// A decoder with a collection of what came out.
struct DecoderRun {
  explicit DecoderRun(uint32_t codec, uint32_t deinterlace = 0)
      : decoder(makeDecoder(codec)), harness(*decoder, [this](VideoFrameBuffer& frame) { keep(frame); }) {
    decoder->setParameterValue(0, int64_t{deinterlace});
  }

  void keep(VideoFrameBuffer& frame) {
    pictures.push_back({frame.getTimecode(), frame.getWidth(), frame.getHeight(), frame.getFrameType(),
                        frame.getFlags(), i420Bytes(frame)});
  }

  void feed(UnitStream& stream) {
    harness.config(stream.config);
    for (MediaUnit& unit : stream.units) harness.feed(unit.bytes, unit.timecode, unit.frameType);
  }

  std::vector<uint64_t> timecodes() const {
    std::vector<uint64_t> times;
    for (const Picture& picture : pictures) times.push_back(picture.timecode);
    return times;
  }

  std::unique_ptr<IVideoDecoder> decoder;
  DecoderHarness harness;
  std::vector<Picture> pictures;
};

}  // namespace qvs::test

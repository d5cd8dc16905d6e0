#pragma once

#include <functional>
#include <memory>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "support/MediaStream.h"
#include "video/decoders/IVideoDecoder.h"

namespace qvs::test {

/// A decoder class by its codec number, named to it and initialized.
std::unique_ptr<IVideoDecoder> makeDecoder(uint32_t codec, bool initialize = true, uint32_t version = 0);

struct DecoderCounts {
  uint32_t units = 0;
  uint32_t pictures = 0;
  uint32_t refused = 0;  ///< units reported with an error and without a picture
  uint32_t aborted = 0;
  uint32_t concealed = 0;  ///< pictures reported with an error
};

/// Drives a decoder as a session does, up to the fetched picture.
class DecoderHarness {
 public:
  using OnPicture = std::function<void(VideoFrameBuffer&)>;

  DecoderHarness(IVideoDecoder& decoder, OnPicture onPicture)
      : decoder(decoder), onPicture(std::move(onPicture)) {}

  void setFourCC(uint32_t value) { fourCC = value; }
  void config(MediaBytes bytes);
  /// The status words of the unit, or'ed.
  uint32_t feed(MediaBytes& bytes, uint64_t timecode, uint32_t frameType);
  void drain();
  /// All of a stream.
  void run(MediaStream& stream);

  const DecoderCounts& getCounts() const { return counts; }
  uint32_t getConfigResult() const { return configResult; }

 private:
  void take(uint32_t status);

  IVideoDecoder& decoder;
  OnPicture onPicture;
  VideoFrameBuffer frame;
  DecoderCounts counts;
  uint32_t configResult = 0;
  uint32_t fourCC = kFourCCYV12;
};

}  // namespace qvs::test

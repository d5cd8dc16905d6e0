#pragma once

#include <array>
#include <cstdint>

#include "video/AvPointers.h"
#include "video/UnitBuffer.h"

namespace qvs::mc {

/// How a codec is opened.
struct CodecOptions {
  int32_t workers = 1;  ///< threads; those beyond the processor's are not made
  bool sliceThreads = true;
  bool loopFilter = true;
  int32_t reorder = 0;  ///< pictures to hold back at least, where the stream doesn't tell
};

/// What came of a unit.
enum class CodecResult { kNothing, kPicture, kRefused };

/// One codec of libavcodec: whole units in, pictures in presentation order out. Each unit has a number that
/// comes back with its picture.
class CodecContext {
 public:
  /// Opens it. `header` is the stream's configuration and may be empty. False where the codec isn't there.
  bool open(AVCodecID codec, const CodecOptions& options, const UnitBuffer& header);
  bool isOpen() const { return context != nullptr; }

  CodecResult decode(UnitBuffer& unit, int64_t number);
  /// The same for a unit that starts something new, which would make the codec drop the picture it holds:
  /// that one comes out instead.
  CodecResult decodeAfterDrain(UnitBuffer& unit, int64_t number);
  /// Takes what the codec still holds, one picture a call; kNothing at the end.
  CodecResult drain();

  /// The last picture; valid until the next call.
  AVFrame& picture() { return *frame; }
  const AVCodecContext& info() const { return *context; }

 private:
  int send(UnitBuffer& unit, int64_t number);
  CodecResult receive();
  bool giveHeader(const UnitBuffer& header);

  AvContextPtr context;
  AvPacketPtr packet;
  AvFramePtr frame;
  bool draining = false;
};

}  // namespace qvs::mc

#pragma once

#include <mc_bufstream.h>
#include <mc_callbacks.h>

#include <cstdint>

#include "offline/thumbnail/ThumbnailerData.h"

namespace qvs {

/// What tells one codec's still pictures from another's.
struct ThumbnailerCodec {
  const char* label;  ///< of its operation, for printed lines
  uint32_t codec;
  bufstream_tt* (*create)(callbacks_t* callbacks);
  bool deinterlaces;
  uint32_t setRecord;  ///< code that attaches a record to the bytes fed next
  uint32_t getRecord;  ///< code that gives the record of the picture now ready
};

/// One still picture out of a run of coded packets, with a decoder of its own. All codecs follow one plan.
class Thumbnailer {
 public:
  /// Null for a codec without still pictures.
  static const ThumbnailerCodec* codecOf(int32_t codec);

  /// 0; kFailure without a picture; else what `frameToRGBA` says. The packets are read where they lie and must not
  /// change meanwhile.
  static uint32_t videoDecoderGetVideoFrame(const ThumbnailerCodec& codec,
                                            const ThumbnailerRequestData& request,
                                            ThumbnailerResponseData& response);
};

/// A class a codec.
template <uint32_t Codec>
struct ThumbnailerOf {
  static uint32_t videoDecoderGetVideoFrame(const ThumbnailerRequestData& request,
                                            ThumbnailerResponseData& response) {
    return Thumbnailer::videoDecoderGetVideoFrame(*Thumbnailer::codecOf(Codec), request, response);
  }
};
using ThumbnailerH264 = ThumbnailerOf<7>;
using ThumbnailerMP4 = ThumbnailerOf<10>;
using ThumbnailerMP2 = ThumbnailerOf<11>;
using ThumbnailerH265 = ThumbnailerOf<12>;

}  // namespace qvs

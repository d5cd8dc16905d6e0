#pragma once

#include <mc_frame.h>
#include <mc_ucc.h>

#include <cstdint>
#include <memory>

#include "bufstream/BufStreamDecoder.h"
#include "frames/geometry/FitPlacement.h"
#include "offline/thumbnail/ThumbnailerData.h"
#include "platform/FreeDeleter.h"

namespace qvs {

/// The last good picture of a run, "YV12" in one block that is used again while the size stays.
struct ThumbnailerFrame {
  frame_tt picture{};
  ucc_colorimetry_t colors{};  ///< what the stream says of it, with nothing left open
  std::unique_ptr<uint8_t, FreeDeleter> block;
  PixelSize blockSize;
  bool hasPicture = false;
};

/// Steps that all still pictures share.
class ThumbnailerUtils {
 public:
  /// Takes the decoder's current picture where the bits of its parse state say that there is one; else kFailure, and
  /// the frame is as it was.
  static uint32_t decoderToFrame(BufStreamDecoder& decoder, ThumbnailerFrame& frame, uint32_t flags,
                                 PixelSize size);

  /// Makes the response's picture. kFailure without a picture, without memory, or where the request asks for what
  /// can't be made; 1, with a picture of zeroes, where there is no converter.
  static uint32_t frameToRGBA(const ThumbnailerFrame& frame, const ThumbnailerRequestData& request,
                              ThumbnailerResponseData& response);

  /// Paints the response's picture black. 1 where there is no converter.
  static uint32_t blackFill(ThumbnailerResponseData& response);
};

}  // namespace qvs

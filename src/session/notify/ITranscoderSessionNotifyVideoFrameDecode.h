#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace qvs {

class IVideoDecoder;
class VideoFrameBuffer;

/// Sees each decoded picture, before and after the decoder set's overlays.
/// Results are not evaluated. The lock pair is the listener's own guard of its state, called around each
/// event.
class QVS_EXPORT ITranscoderSessionNotifyVideoFrameDecode {
 public:
  virtual ~ITranscoderSessionNotifyVideoFrameDecode() = default;
  virtual uint32_t lockVideo() = 0;
  virtual uint32_t unlockVideo() = 0;

  virtual uint32_t onVideoDecodeBeforeOverlay(int64_t sessionId, IVideoDecoder* decoder,
                                              VideoFrameBuffer* frame) = 0;
  virtual uint32_t onVideoDecodeAfterOverlay(int64_t sessionId, IVideoDecoder* decoder,
                                             VideoFrameBuffer* frame) = 0;
};

}  // namespace qvs

#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace qvs {

class IVideoEncoder;
class VideoFrameBuffer;

/// Sees each rendition's picture, before and after its overlays. `source` is null where one pass made all
/// renditions. Results are not evaluated. The lock pair is the listener's own guard of its state, called
/// around each event.
class QVS_EXPORT ITranscoderSessionNotifyVideoFrameEncode {
 public:
  virtual ~ITranscoderSessionNotifyVideoFrameEncode() = default;
  virtual uint32_t lockVideo() = 0;
  virtual uint32_t unlockVideo() = 0;

  virtual uint32_t onVideoEncodeBeforeOverlay(int64_t sessionId, IVideoEncoder* encoder,
                                              VideoFrameBuffer* source, VideoFrameBuffer* target) = 0;
  virtual uint32_t onVideoEncodeAfterOverlay(int64_t sessionId, IVideoEncoder* encoder,
                                             VideoFrameBuffer* source, VideoFrameBuffer* target) = 0;
};

}  // namespace qvs

#pragma once

#include "session/notify/ITranscoderSessionNotifyVideoFrameDecode.h"

#include <cstdint>
#include <vector>

namespace qvs::host {

/// Keeps a copy of the last decoded picture of one session, as its pool frame holds it before any overlay:
/// planes Y, U and V, rows without padding, chroma sizes rounded down. Used on the session's own thread only.
class DecodedFrameListener final : public ITranscoderSessionNotifyVideoFrameDecode {
 public:
  uint32_t lockVideo() override { return 0; }
  uint32_t unlockVideo() override { return 0; }
  uint32_t onVideoDecodeBeforeOverlay(int64_t sessionId, IVideoDecoder* decoder,
                                      VideoFrameBuffer* frame) override;
  uint32_t onVideoDecodeAfterOverlay(int64_t, IVideoDecoder*, VideoFrameBuffer*) override { return 0; }

  /// Empty before the first picture and after one of a format that has no three planes.
  const std::vector<uint8_t>& frame() const { return frame_; }

 private:
  std::vector<uint8_t> frame_;
};

}  // namespace qvs::host

#pragma once

#include "session/notify/ITranscoderSessionNotifyVideoFrameEncode.h"

#include <cstdint>
#include <span>

namespace qvs::host {

/// Copies single pictures of a session as they go to an encoder, overlays included, when somebody has asked for the next
/// one: planes Y, U and V, rows without padding. Used on the session's own thread only.
class EncoderInputListener final : public ITranscoderSessionNotifyVideoFrameEncode {
 public:
  uint32_t lockVideo() override { return 0; }
  uint32_t unlockVideo() override { return 0; }
  uint32_t onVideoEncodeBeforeOverlay(int64_t, IVideoEncoder*, VideoFrameBuffer*,
                                      VideoFrameBuffer*) override {
    return 0;
  }
  uint32_t onVideoEncodeAfterOverlay(int64_t sessionId, IVideoEncoder* encoder, VideoFrameBuffer* source,
                                     VideoFrameBuffer* target) override;

  /// The next rendition's picture goes there; borrowed until `taken` is asked.
  void ask(std::span<uint8_t> into);
  /// True where it came, whole. Nothing is asked for any more.
  bool taken();

 private:
  std::span<uint8_t> into_;
  bool taken_ = false;
};

}  // namespace qvs::host

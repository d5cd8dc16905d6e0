#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace qvs {

class AudioSampleBuffer;
class IAudioEncoder;

/// Hears each rendition's block of samples, before and after resampling.
/// Results are not evaluated. The lock pair is the listener's own guard of its state, called around each
/// event.
class QVS_EXPORT ITranscoderSessionNotifyAudioFrameEncode {
 public:
  virtual ~ITranscoderSessionNotifyAudioFrameEncode() = default;
  virtual uint32_t lockAudio() = 0;
  virtual uint32_t unlockAudio() = 0;

  virtual uint32_t onAudioEncodeBeforeResample(int64_t sessionId, IAudioEncoder* encoder,
                                               AudioSampleBuffer* block) = 0;
  virtual uint32_t onAudioEncodeAfterResample(int64_t sessionId, IAudioEncoder* encoder,
                                              AudioSampleBuffer* block) = 0;
};

}  // namespace qvs

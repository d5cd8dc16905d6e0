#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace qvs {

class AudioSampleBuffer;
class IAudioDecoder;

/// Hears each decoded block of samples, before and after resampling.
/// Results are not evaluated. The lock pair is the listener's own guard of its state, called around each
/// event.
class QVS_EXPORT ITranscoderSessionNotifyAudioFrameDecode {
 public:
  virtual ~ITranscoderSessionNotifyAudioFrameDecode() = default;
  virtual uint32_t lockAudio() = 0;
  virtual uint32_t unlockAudio() = 0;

  virtual uint32_t onAudioDecodeBeforeResample(int64_t sessionId, IAudioDecoder* decoder,
                                               AudioSampleBuffer* block) = 0;
  virtual uint32_t onAudioDecodeAfterResample(int64_t sessionId, IAudioDecoder* decoder,
                                              AudioSampleBuffer* block) = 0;
};

}  // namespace qvs

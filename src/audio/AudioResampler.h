#pragma once

#include <cstdint>

namespace qvs {

class AudioSampleBuffer;

/// What the audio road needs of a resampler: converts a block's rate, channels and layout.
class AudioResampler {
 public:
  virtual ~AudioResampler() = default;

  /// `source` and `target` may be one buffer. 0 on success.
  virtual uint32_t resample(AudioSampleBuffer& source, AudioSampleBuffer& target) = 0;
};

}  // namespace qvs

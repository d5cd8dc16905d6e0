#pragma once

#include <memory>

#include "audio/IAudioEncoder.h"
#include "frames/AudioSampleBuffer.h"

namespace qvs {

/// One audio rendition of a session.
struct AudioEncoderWrapper {
  std::unique_ptr<IAudioEncoder> audioEncoder;
  std::unique_ptr<AudioSampleBuffer> resampleAudioBuffer;
  std::unique_ptr<AudioSampleBuffer> encodeAudioBuffer;  ///< the block now on its way through this rendition
};

}  // namespace qvs

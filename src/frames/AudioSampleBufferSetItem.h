#pragma once

#include <memory>

#include "frames/AudioSampleBuffer.h"

namespace qvs {

/// Owns one block of a set, which keeps its address while the set grows.
class AudioSampleBufferSetItem {
 public:
  AudioSampleBufferSetItem() : buffer(std::make_unique<AudioSampleBuffer>()) {}

  AudioSampleBuffer* getAudioSampleBuffer() const { return buffer.get(); }

 private:
  std::unique_ptr<AudioSampleBuffer> buffer;
};

}  // namespace qvs

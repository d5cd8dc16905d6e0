#pragma once

#include <cstdint>
#include <memory>

#include "frames/AudioSampleBuffer.h"
#include "platform/RingQueue.h"

namespace qvs {

/// Cuts blocks of any length into the frames of exactly so many samples that a codec takes. A frame that lies
/// in one block is handed out where it lies; only one that spans blocks is copied together.
class AudioFrameAssembler {
 public:
  struct Frame {
    uint8_t* samples = nullptr;  ///< interleaved, 16 bits; valid until the assembler's next operation
    uint64_t timecode = 0;       ///< of the first sample; samples
  };

  /// Starts anew with frames of `frameSamples` samples a channel; throws where there is no memory.
  void open(uint32_t frameSamples, uint32_t channels, uint32_t sampleRate);
  void close();

  bool isOpen() const { return gathered != nullptr; }
  uint32_t getFrameSamples() const { return frameSamples; }
  uint32_t getChannels() const { return channels; }
  uint32_t getSampleRate() const { return sampleRate; }

  /// Takes a block of the format given to `open`, from its sample index on.
  void add(std::unique_ptr<AudioSampleBuffer> block);

  /// The next whole frame; false while there are too few samples.
  bool next(Frame& frame);

 private:
  void dropSpent();
  void gather();

  RingQueue<std::unique_ptr<AudioSampleBuffer>> blocks;
  uint64_t waiting = 0;  ///< samples a channel in `blocks`
  uint32_t frameSamples = 0;
  uint32_t channels = 0;
  uint32_t sampleRate = 0;              ///< Hz
  std::unique_ptr<uint8_t[]> gathered;  ///< one frame
};

}  // namespace qvs

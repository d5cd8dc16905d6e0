#pragma once

#include <cstdint>
#include <memory>

namespace qvs {

/// A block of interleaved signed 16-bit sound between decoder, resampler and encoders.
class AudioSampleBuffer {
 public:
  /// Replaces the memory by a zeroed one for so many samples a channel. kFailure, with no memory, where there
  /// is none or the block doesn't fit 32 bits.
  uint32_t allocBuffer(uint32_t sampleCount, uint32_t channels, uint32_t sampleRate);

  uint8_t* getBuffer() { return buffer.get(); }
  const uint8_t* getBuffer() const { return buffer.get(); }
  uint32_t getLen() const { return len; }
  void setLen(uint32_t value) { len = value; }
  uint32_t getSampleCount() const { return sampleCount; }
  void setSampleCount(uint32_t value) { sampleCount = value; }
  uint32_t getSampleIndex() const { return sampleIndex; }
  void setSampleIndex(uint32_t value) { sampleIndex = value; }
  void incSampleIndex(uint32_t count) { sampleIndex += count; }
  uint32_t getChannels() const { return channels; }
  void setChannels(uint32_t value) { channels = value; }
  uint32_t getSampleRate() const { return sampleRate; }
  void setSampleRate(uint32_t value) { sampleRate = value; }
  uint32_t getFormat() const { return format; }
  void setFormat(uint32_t value) { format = value; }
  uint64_t getTimecode() const { return timecode; }
  void setTimecode(uint64_t value) { timecode = value; }

 private:
  std::unique_ptr<uint8_t[]> buffer;
  uint32_t len = 0;             ///< bytes
  uint32_t sampleCount = 1024;  ///< capacity, samples a channel
  uint32_t sampleIndex = 0;     ///< samples a channel in use
  uint32_t channels = 2;
  uint32_t sampleRate = 0;  ///< Hz
  uint32_t format = 0;
  uint64_t timecode = 0;  ///< samples at `sampleRate`
};

}  // namespace qvs

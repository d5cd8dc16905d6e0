#pragma once

#include <cstdint>

namespace qvs {

struct AudioFrameEncodedData {
  uint8_t* buffer = nullptr;  ///< malloc'ed; whoever takes the frame frees it
  uint32_t len = 0;           ///< bytes
  uint64_t timecode = 0;
  uint32_t channels = 0;
  uint32_t sampleRate = 0;  ///< Hz
};

/// An encoded block of sound on its way out of an encoder. Copied by value; frees nothing by itself.
class AudioFrameEncoded {
 public:
  AudioFrameEncoded() = default;
  AudioFrameEncoded(uint8_t* buffer, uint32_t len, uint64_t timecode, uint32_t channels, uint32_t sampleRate)
      : frameData{buffer, len, timecode, channels, sampleRate} {}

  uint8_t* getBuffer() const { return frameData.buffer; }
  void setBuffer(uint8_t* value) { frameData.buffer = value; }
  uint32_t getLen() const { return frameData.len; }
  void setLen(uint32_t value) { frameData.len = value; }
  uint64_t getTimecode() const { return frameData.timecode; }
  void setTimecode(uint64_t value) { frameData.timecode = value; }
  uint32_t getChannels() const { return frameData.channels; }
  void setChannels(uint32_t value) { frameData.channels = value; }
  uint32_t getSampleRate() const { return frameData.sampleRate; }
  void setSampleRate(uint32_t value) { frameData.sampleRate = value; }

  void getFrameData(AudioFrameEncodedData& out) const { out = frameData; }

 private:
  AudioFrameEncodedData frameData;
};

}  // namespace qvs

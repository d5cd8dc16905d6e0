#pragma once

#include <cstdint>

#include "frames/AudioLevelData.h"
#include "frames/VideoFrameBufferCaptureInfo.h"

namespace qvs {

/// What is told of a picture beside its pixels.
class FrameProperties {
 public:
  int32_t getDisplayWidth() const { return displayWidth; }
  void setDisplayWidth(int32_t value) { displayWidth = value; }
  int32_t getDisplayHeight() const { return displayHeight; }
  void setDisplayHeight(int32_t value) { displayHeight = value; }
  uint64_t getTimecode() const { return timecode; }
  void setTimecode(uint64_t value) { timecode = value; }
  uint64_t getFrameIndex() const { return frameIndex; }
  void setFrameIndex(uint64_t value) { frameIndex = value; }
  uint32_t getFrameType() const { return frameType; }
  void setFrameType(uint32_t value) { frameType = value; }
  uint64_t getFlags() const { return flags; }
  void setFlags(uint64_t value) { flags = value; }
  double getFrameRate() const { return frameRate; }
  void setFrameRate(double value) { frameRate = value; }
  uint32_t getColorSpace() const { return colorSpace; }
  void setColorSpace(uint32_t value) { colorSpace = value; }
  uint32_t getScaleMode() const { return scaleMode; }
  void setScaleMode(uint32_t value) { scaleMode = value; }
  VideoFrameBufferCaptureInfo& getCaptureInfo() { return captureInfo; }
  AudioLevelData& getAudioLevelData() { return audioLevelData; }

 private:
  int32_t displayWidth = 0;  ///< pixels; 0: the frame's size
  int32_t displayHeight = 0;
  uint64_t timecode = 0;  ///< ms
  uint64_t frameIndex = ~uint64_t{0};
  uint32_t frameType = 0;  ///< FrameType
  uint64_t flags = 0;      ///< kFrameFlag...
  double frameRate = 0;
  uint32_t colorSpace = 0;
  uint32_t scaleMode = 0;
  VideoFrameBufferCaptureInfo captureInfo;
  AudioLevelData audioLevelData;
};

}  // namespace qvs

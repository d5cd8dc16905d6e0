#pragma once

#include <qvs/video_frame.h>

#include <cstdint>

namespace qvs {

/// An encoded access unit on its way out of an encoder. Copied by value; frees nothing by itself.
class VideoFrameEncoded {
 public:
  VideoFrameEncoded() = default;
  VideoFrameEncoded(uint8_t* buffer, uint32_t len, uint64_t timecode, uint32_t frameType, bool isAllocated)
      : VideoFrameEncoded(buffer, len, timecode, 0, frameType, isAllocated) {}
  VideoFrameEncoded(uint8_t* buffer, uint32_t len, uint64_t timecode, int64_t timecodeOffset,
                    uint32_t frameType, bool isAllocated) {
    frameData.buffer = buffer;
    frameData.len = len;
    frameData.timecode = timecode;
    frameData.timecodeOffset = timecodeOffset;
    frameData.frameType = frameType;
    frameData.isAllocated = isAllocated ? 1 : 0;
  }

  uint8_t* getBuffer() const { return frameData.buffer; }
  void setBuffer(uint8_t* value) { frameData.buffer = value; }
  void* getJBuffer() const { return frameData.jbuffer; }
  void setJBuffer(void* value) { frameData.jbuffer = value; }
  bool isJavaBuffer() const { return frameData.jbuffer != nullptr; }
  void* getNBuffer() const { return frameData.nbuffer; }
  void setNBuffer(void* value) { frameData.nbuffer = value; }
  uint32_t getLen() const { return frameData.len; }
  void setLen(uint32_t value) { frameData.len = value; }
  uint64_t getTimecode() const { return frameData.timecode; }
  void setTimecode(uint64_t value) { frameData.timecode = value; }
  int64_t getTimecodeOffset() const { return frameData.timecodeOffset; }
  void setTimecodeOffset(int64_t value) { frameData.timecodeOffset = value; }
  uint32_t getFrameType() const { return frameData.frameType; }
  void setFrameType(uint32_t value) { frameData.frameType = value; }
  int32_t getVODPacketsIndex() const { return frameData.vodPacketsIndex; }
  void setVODPacketsIndex(int32_t value) { frameData.vodPacketsIndex = value; }
  bool isCodecConfig() const { return frameData.codecConfig != 0; }
  void setCodecConfig(uint8_t value) { frameData.codecConfig = value; }
  bool isAllocated() const { return frameData.isAllocated != 0; }

  void getFrameData(VideoFrameEncodedData& out) const { out = frameData; }
  void setFrameData(const VideoFrameEncodedData& in) { frameData = in; }

 private:
  VideoFrameEncodedData frameData{};
};

}  // namespace qvs

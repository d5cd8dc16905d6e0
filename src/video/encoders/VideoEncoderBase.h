#pragma once

#include <cstdint>

#include "platform/WithoutParameters.h"
#include "session/MediaStreamContext.h"
#include "video/encoders/IVideoEncoder.h"

namespace qvs {

/// What all video encoders share.
class VideoEncoderBase : public WithoutParameters<IVideoEncoder> {
 public:
  VideoEncoderBase() = default;
  VideoEncoderBase(const VideoEncoderBase&) = delete;
  VideoEncoderBase& operator=(const VideoEncoderBase&) = delete;

  uint32_t getCodec() override { return codec; }
  void setCodec(uint32_t value) override { codec = value; }
  uint32_t getBitDepth() override { return bitDepth; }
  void setBitDepth(uint32_t value) override { bitDepth = value; }
  uint32_t getCodecVersion() override { return codecVersion; }
  void setCodecVersion(uint32_t value) override { codecVersion = value; }
  void setCodecAndVersion(uint32_t codecId, uint32_t version) override;
  uint32_t getImplementation() override { return implementation; }
  void setImplementation(uint32_t value) override { implementation = value; }
  void setFourcc(uint32_t value) override { fourcc = value; }
  void setFrameIndex(int32_t value) override { frameIndex = value; }
  int32_t getFrameIndex() override { return frameIndex; }
  uint32_t skipFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  void setLogger(ILogger* value) override;
  uint32_t getSessionIndex() override { return sessionIndex; }
  void setSessionIndex(uint32_t value) override;
  void setNativePath(char* nativePath) override;
  uint32_t createDone() override { return 0; }
  FrameAllocProvider getAllocProvider() override { return {}; }
  FrameFreeProvider getFreeProvider() override { return {}; }
  MediaStreamContext* getMediaStreamContext() override { return &mediaStreamContext; }

  /// The logger given, or the process-wide one.
  ILogger* getLogger() const;

 protected:
  uint32_t codec = 0xFFFFFFFFu;
  uint32_t codecVersion = 0;
  uint32_t bitDepth = 0;
  uint32_t implementation = 0;
  uint32_t fourcc = 0;        ///< of the pictures it takes
  uint32_t sessionIndex = 0;  ///< index of its log lines
  int32_t frameIndex = -1;    ///< the frame set it reads; -1 until set
  ILogger* logger = nullptr;  ///< borrowed
  MediaStreamContext mediaStreamContext;
};

}  // namespace qvs

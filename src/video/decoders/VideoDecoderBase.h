#pragma once

#include <cstdint>
#include <memory>

#include "bufstream/ParameterSets.h"
#include "platform/IConcurrentLock.h"
#include "platform/WithoutParameters.h"
#include "session/MediaStreamContext.h"
#include "video/decoders/IVideoDecoder.h"
#include "video/decoders/TranscoderVideoDecoderCaptureInfo.h"

namespace qvs {

/// What all video decoders share: the stream's description, the last picture's description, the byte
/// sequences that are spliced into H.26x streams, stored parameter sets, capture counters. Decodes nothing by
/// itself.
class VideoDecoderBase : public WithoutParameters<IVideoDecoder> {
 public:
  VideoDecoderBase();
  ~VideoDecoderBase() override;
  VideoDecoderBase(const VideoDecoderBase&) = delete;
  VideoDecoderBase& operator=(const VideoDecoderBase&) = delete;

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
  uint32_t getFrameWidth() override { return frameWidth; }
  void setFrameWidth(uint32_t value) override { frameWidth = value; }
  uint32_t getFrameHeight() override { return frameHeight; }
  void setFrameHeight(uint32_t value) override { frameHeight = value; }
  uint32_t getDisplayWidth() override { return displayWidth; }
  void setDisplayWidth(uint32_t value) override { displayWidth = value; }
  uint32_t getDisplayHeight() override { return displayHeight; }
  void setDisplayHeight(uint32_t value) override { displayHeight = value; }
  double getFrameRate() override { return frameRate; }
  void setFrameRate(double value) override { frameRate = value; }
  VideoFrameBuffer* getVideoFrameBuffer() override { return frameBuffer; }
  void setVideoFrameBuffer(VideoFrameBuffer* value) override { frameBuffer = value; }
  uint32_t getDecodedFrameType() override { return decodedFrameType; }
  uint64_t getDecodedFrameTimecode() override { return decodedFrameTimecode; }
  uint64_t getDecodedFrameFlags() override { return decodedFrameFlags; }
  uint32_t setCaptureDevice(int32_t deviceId) override;
  uint32_t decode(uint32_t* flags) override;
  uint32_t decode(uint32_t* flags, uint8_t flush) override;
  void setLogger(ILogger* value) override { logger = value; }
  void setNativePath(char* nativePath) override;
  uint32_t createDone() override { return 0; }
  uint32_t setDecoderCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) override;
  uint32_t getDecoderCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) override;
  uint32_t getDeinterlaceDoubleRate() override { return deinterlaceDoubleRate; }
  void setDeinterlaceDoubleRate(uint32_t value) override { deinterlaceDoubleRate = value; }
  FrameAllocProvider getAllocProvider() override { return {}; }
  FrameFreeProvider getFreeProvider() override { return {}; }
  MediaStreamContext* getMediaStreamContext() override { return &mediaStreamContext; }

  uint32_t getDeinterlace() const { return deinterlace; }
  void setDeinterlace(uint8_t value) { deinterlace = value; }

  /// The logger given, or the process-wide one.
  ILogger* getLogger() const;

 protected:
  using Bytes = std::unique_ptr<uint8_t[]>;

  uint32_t codec = 0xFFFFFFFFu;
  uint32_t codecVersion = 0;
  uint32_t bitDepth = 0;
  uint32_t implementation = 0;
  uint32_t fourcc = 0;
  uint32_t frameWidth = 0;
  uint32_t frameHeight = 0;
  uint32_t displayWidth = 0;
  uint32_t displayHeight = 0;
  double frameRate = 0.0;  ///< frames per second; 0 unknown
  uint32_t decodedFrameType = 0;
  uint64_t decodedFrameTimecode = 0;
  uint64_t decodedFrameFlags = 0;           ///< 0x2 interlaced and left so; 0x4 with it: bottom field first
  VideoFrameBuffer* frameBuffer = nullptr;  ///< borrowed
  Bytes headerBuffer;                       ///< a start code, 4 bytes
  Bytes audKFrame, audBFrame, audPFrame;    ///< H.264 access-unit delimiters, 6 bytes
  Bytes aud265KFrame, aud265BFrame, aud265PFrame;  ///< H.265 access-unit delimiters, 7 bytes
  ParameterSets parameterSets;                     ///< as the stream's configuration brought them
  ILogger* logger = nullptr;                       ///< borrowed
  uint32_t deinterlace = 1;
  uint32_t framesDecoded = 0;
  uint32_t deinterlaceDoubleRate = 0;  ///< non-zero: one output frame per field
  uint32_t deinterlaceDoubleRateFrameIndex = 0;
  int32_t captureDeviceId = 0;
  std::unique_ptr<IConcurrentLock> lock;                 ///< guards decoderCaptureInfo alone
  TranscoderVideoDecoderCaptureInfo decoderCaptureInfo;  ///< written by a capture thread
  MediaStreamContext mediaStreamContext;
};

}  // namespace qvs

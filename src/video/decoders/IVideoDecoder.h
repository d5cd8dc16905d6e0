#pragma once

#include <cstdint>

#include "frames/FrameProviders.h"

namespace qvs {

class ILogger;
class MediaStreamContext;
struct TranscoderVideoDecoderCaptureInfo;

/// One coded video stream in, pictures out. Used by the one thread that drives its session at a time.
///
/// Order of calls: construct; `setNativePath`, `setCodecAndVersion`, `setBitDepth`, `setImplementation`,
/// `setFourcc`, `createDone`; parameters and `applyParameters`; `initialize`; `decodeCodecConfig` whenever
/// the stream carries configuration; per access unit `addFrame`, then `decode` while `isFrameDone` says that
/// input remains; after a `decode` that reports a frame: `getDecodedFrameSize`, `getDecodedFrame`,
/// `getFrameRate`; `close`.
///
/// Results are 0 for success and 0xFFFFFFFF for failure unless told otherwise. Nothing is thrown across this
/// interface.
class IVideoDecoder {
 public:
  virtual ~IVideoDecoder() = default;

  virtual uint32_t getCodec() = 0;
  virtual void setCodec(uint32_t codec) = 0;
  virtual uint32_t getBitDepth() = 0;
  virtual void setBitDepth(uint32_t bitDepth) = 0;
  virtual uint32_t getCodecVersion() = 0;
  virtual void setCodecVersion(uint32_t codecVersion) = 0;
  virtual void setCodecAndVersion(uint32_t codec, uint32_t codecVersion) = 0;
  virtual uint32_t getImplementation() = 0;
  virtual void setImplementation(uint32_t implementation) = 0;
  virtual void setFourcc(uint32_t fourcc) = 0;
  virtual uint32_t getFrameWidth() = 0;
  virtual void setFrameWidth(uint32_t frameWidth) = 0;
  virtual uint32_t getFrameHeight() = 0;
  virtual void setFrameHeight(uint32_t frameHeight) = 0;
  virtual uint32_t getDisplayWidth() = 0;
  virtual void setDisplayWidth(uint32_t displayWidth) = 0;
  virtual uint32_t getDisplayHeight() = 0;
  virtual void setDisplayHeight(uint32_t displayHeight) = 0;
  virtual double getFrameRate() = 0;  ///< frames per second; 0 unknown
  virtual void setFrameRate(double frameRate) = 0;
  virtual VideoFrameBuffer* getVideoFrameBuffer() = 0;
  virtual void setVideoFrameBuffer(VideoFrameBuffer* frameBuffer) = 0;  ///< borrowed
  virtual uint32_t getDecodedFrameType() = 0;
  virtual uint64_t getDecodedFrameTimecode() = 0;  ///< milliseconds
  virtual uint64_t getDecodedFrameFlags() = 0;
  virtual uint32_t initialize() = 0;
  virtual uint32_t setGPUID(int32_t gpuid) = 0;
  virtual uint32_t setCaptureDevice(int32_t deviceId) = 0;
  virtual uint32_t close() = 0;  ///< safe to call twice
  virtual uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) = 0;
  virtual uint32_t getDecodedFrame(VideoFrameBuffer& target) = 0;
  virtual uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                                       uint32_t* displayHeight) = 0;

  /// Queues one access unit. The bytes are borrowed until the next unit has been added or the input list has
  /// run dry, whatever the result is. `timecode` in milliseconds.
  virtual uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                            uint32_t frameType) = 0;

  /// Decodes one step; `flags` receives DecodeFlag bits.
  virtual uint32_t decode(uint32_t* flags) = 0;
  virtual uint32_t decode(uint32_t* flags, uint8_t flush) = 0;
  virtual uint8_t isFrameDone() = 0;
  virtual void setLogger(ILogger* logger) = 0;  ///< borrowed
  virtual uint32_t applyParameters() = 0;
  virtual uint32_t setParameterValue(uint32_t key, int64_t value) = 0;
  virtual uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) = 0;
  virtual uint32_t setParameterValue(uint32_t key, double value) = 0;
  virtual uint32_t setParameterValue(uint32_t key, double* values, uint32_t count) = 0;

  /// ParameterType of the key, 0 for an unknown one. `arrayLength` may be null.
  virtual uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) = 0;
  virtual uint32_t getParameterValue(uint32_t key, int64_t* value) = 0;
  virtual uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) = 0;
  virtual uint32_t getParameterValue(uint32_t key, double* value) = 0;
  virtual uint32_t getParameterValue(uint32_t key, double* values, uint32_t* count) = 0;
  virtual void setNativePath(char* nativePath) = 0;
  virtual uint32_t createDone() = 0;  ///< the session has finished filling the object
  virtual uint32_t setDecoderCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) = 0;
  virtual uint32_t getDecoderCaptureInfo(TranscoderVideoDecoderCaptureInfo* info) = 0;
  virtual uint32_t getDeinterlaceDoubleRate() = 0;
  virtual void setDeinterlaceDoubleRate(uint32_t deinterlaceDoubleRate) = 0;

  /// Empty where frames allocate host memory themselves.
  virtual FrameAllocProvider getAllocProvider() = 0;
  virtual FrameFreeProvider getFreeProvider() = 0;
  virtual MediaStreamContext* getMediaStreamContext() = 0;
};

}  // namespace qvs

#pragma once

#include <cstdint>
#include <vector>

#include "frames/FrameProviders.h"

namespace qvs {

class ILogger;
class MediaStreamContext;
class VideoFrameEncoded;

/// Pictures in, coded access units out; one per rendition.
///
/// Order of calls: construct; `setLogger`, `setSessionIndex`, `setBitDepth`, `setNativePath`,
/// `setCodecAndVersion`, `setImplementation`, `setFourcc`, `createDone`; `setDefaults`; `setFrameSize`,
/// `setFrameRate`, `setBitrate`, `setKeyFrameFollow`, `setFrameIndex`; parameters and `applyParameters`;
/// `initialize`; then per frame `addFrame` or `skipFrame` and `getEncodedFrames`.
///
/// Results are 0 for success and 0xFFFFFFFF for failure unless told otherwise. Nothing is thrown across this
/// interface.
class IVideoEncoder {
 public:
  virtual ~IVideoEncoder() = default;

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

  /// Fills in the back end's default settings; what the two numbers mean is the encoder's.
  virtual uint32_t setDefaults(int32_t videoType, int32_t pal) = 0;
  virtual uint32_t setFrameSize(uint32_t width, uint32_t height) = 0;
  virtual void setFrameIndex(int32_t frameIndex) = 0;
  virtual int32_t getFrameIndex() = 0;  ///< number of the frame set it reads; -1 until set
  virtual uint32_t setFrameRate(double frameRate) = 0;
  virtual uint32_t setBitrate(uint32_t bitrate) = 0;     ///< bits per second, before `initialize`
  virtual uint32_t updateBitrate(uint32_t bitrate) = 0;  ///< bits per second, while encoding

  /// Non-zero: key frames of the input become key frames of the output.
  virtual uint32_t setKeyFrameFollow(uint8_t keyFrameFollow) = 0;
  virtual uint32_t checkSettings() = 0;
  virtual uint32_t initialize() = 0;
  virtual uint32_t setGPUID(int32_t gpuid) = 0;

  /// The frame is not to be encoded; a back end that holds device frames releases it.
  virtual uint32_t skipFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) = 0;

  /// Encodes one frame. `frameType` 0 takes the frame's own type, 1 requests a key frame. `timecode` in
  /// milliseconds.
  virtual uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) = 0;
  virtual uint32_t getEncodedFrameCount() = 0;

  /// Moves the waiting units behind what `frames` holds; the caller then owns their bytes.
  virtual uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& frames) = 0;
  virtual void setLogger(ILogger* logger) = 0;  ///< borrowed
  virtual uint32_t getSessionIndex() = 0;
  virtual void setSessionIndex(uint32_t sessionIndex) = 0;
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

  /// Empty where frames allocate host memory themselves.
  virtual FrameAllocProvider getAllocProvider() = 0;
  virtual FrameFreeProvider getFreeProvider() = 0;
  virtual MediaStreamContext* getMediaStreamContext() = 0;

  /// Returns when no frame is in work any more. An encoder that encodes within `addFrame` has nothing to do.
  virtual void finish() {}
};

}  // namespace qvs

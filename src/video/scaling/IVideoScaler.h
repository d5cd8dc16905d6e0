#pragma once

#include <cstdint>
#include <vector>

namespace qvs {

class ILogger;
class VideoFrameBuffer;
class VideoOverlayFrames;

/// One rendition of a `scaleFrame`: where the picture goes and what is laid over it. Both borrowed.
struct VideoScalerTarget {
  VideoFrameBuffer* frame;
  VideoOverlayFrames* overlays;
};

/// A scaler that makes all renditions of a picture in one pass. Only hardware that works so stands behind it;
/// all other implementations scale frame to frame.
///
/// Order of calls: `create`, `setSource`, `addScaling` per rendition, `initialize`, then `scaleFrame` per
/// picture.
class IVideoScaler {
 public:
  virtual ~IVideoScaler() = default;

  virtual uint32_t create() = 0;
  virtual uint32_t setSource(uint32_t width, uint32_t height, double rate) = 0;
  virtual uint32_t addScaling(uint32_t width, uint32_t height, double rate, uint32_t scaleIndex,
                              bool stableFramerate) = 0;
  virtual uint32_t getScaler() = 0;
  virtual void setScaler(uint32_t scaler) = 0;
  virtual uint32_t getScalerVersion() = 0;
  virtual void setScalerVersion(uint32_t scalerVersion) = 0;
  virtual void setScalerAndVersion(uint32_t scaler, uint32_t scalerVersion) = 0;
  virtual uint32_t getImplementation() = 0;
  virtual void setImplementation(uint32_t implementation) = 0;
  virtual void setFourcc(uint32_t fourcc) = 0;
  virtual void setBitDepth(uint32_t bitDepth) = 0;
  virtual uint32_t initialize() = 0;
  virtual uint32_t setGPUID(int32_t gpuid) = 0;
  virtual void setLogger(ILogger* logger) = 0;  ///< borrowed
  virtual uint32_t getSessionIndex() = 0;
  virtual void setSessionIndex(uint32_t sessionIndex) = 0;

  /// Scales `source` into all targets. `*count` is the number of renditions wanted going in and the number
  /// that hold a picture coming out; a scaler that works in a pipeline gives 0 while nothing is ready. With a
  /// count of 0, `targets` being null, it forgets the source frame.
  virtual uint32_t scaleFrame(VideoFrameBuffer* source, std::vector<VideoScalerTarget>* targets,
                              uint32_t* count) = 0;
  virtual uint32_t applyParameters() = 0;
  virtual uint32_t setParameterValue(uint32_t key, int64_t value) = 0;
  virtual uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) = 0;
  virtual uint32_t setParameterValue(uint32_t key, double value) = 0;
  virtual uint32_t setParameterValue(uint32_t key, double* values, uint32_t count) = 0;
  virtual uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) = 0;
  virtual uint32_t getParameterValue(uint32_t key, int64_t* value) = 0;
  virtual uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) = 0;
  virtual uint32_t getParameterValue(uint32_t key, double* value) = 0;
  virtual uint32_t getParameterValue(uint32_t key, double* values, uint32_t* count) = 0;
  virtual void setNativePath(char* nativePath) = 0;

  /// Why the last `scaleFrame` lost its source, 0 where it didn't: a scaler that works in a pipeline gives success and
  /// no picture for both.
  virtual uint32_t getLastStatus() { return 0; }
};

}  // namespace qvs

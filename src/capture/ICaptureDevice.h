#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "capture/CaptureDeviceRecords.h"
#include "capture/ICaptureDeviceRendition.h"

namespace qvs {

class CaptureFrame;
class CaptureFrameSink;
class ICaptureFrameSinkFrameNotify;
class ILogger;

/// One source of captured frames. It runs threads of its own between start and stop; all operations may be called
/// from any thread, but for what says "before". Names, ids and masks are set before the manager has the device.
class ICaptureDevice {
 public:
  virtual ~ICaptureDevice() = default;

  virtual void setLogger(ILogger* value) = 0;
  virtual ILogger* getLogger() = 0;  ///< borrowed
  virtual uint8_t getActive() = 0;
  virtual void setActive(uint8_t value) = 0;
  virtual std::string getDisplayName() = 0;
  virtual void setDisplayName(const std::string& value) = 0;
  virtual uint8_t getInputFormatDetection() = 0;
  virtual void setInputFormatDetection(uint8_t value) = 0;
  virtual void setCaptureParamsVideo(const CaptureDeviceCaptureParamsVideoData& value) = 0;
  virtual CaptureDeviceCaptureParamsVideoData getCaptureParamsVideo() = 0;
  virtual void setCaptureParamsAudio(const CaptureDeviceCaptureParamsAudioData& value) = 0;
  virtual CaptureDeviceCaptureParamsAudioData getCaptureParamsAudio() = 0;
  virtual void setCaptureSessionInfo(const CaptureSessionInfoData& value) = 0;
  virtual CaptureSessionInfoData getCaptureSessionInfo() = 0;
  virtual void setCaptureTargetVideo(const CaptureDeviceCaptureTargetVideoData& value) = 0;
  virtual CaptureDeviceCaptureTargetVideoData getCaptureTargetVideo() = 0;
  virtual void resetCaptureSessionInfo() = 0;
  virtual uint64_t getFlags() = 0;
  virtual void setFlags(uint64_t value) = 0;
  virtual uint64_t getHardwareId() = 0;
  virtual void setHardwareId(uint64_t value) = 0;
  virtual uint32_t getId() = 0;
  virtual void setId(uint32_t value) = 0;
  virtual uint32_t getImplementation() = 0;
  virtual void setImplementation(uint32_t value) = 0;
  virtual std::string getModelName() = 0;
  virtual void setModelName(const std::string& value) = 0;
  virtual uint8_t getRunning() = 0;
  virtual void setRunning(uint8_t value) = 0;

  virtual uint32_t renditionCount() = 0;
  /// Gives it the next index.
  virtual void addRendition(std::unique_ptr<ICaptureDeviceRendition> rendition) = 0;
  /// Borrowed; null where there is none.
  virtual ICaptureDeviceRendition* getRenditionById(uint32_t id) = 0;
  virtual ICaptureDeviceRendition* getRendition(uint32_t index) = 0;

  /// Gives the frame its index and a reference to every sink of its type; the number of those.
  virtual uint32_t addCaptureFrameToFrameSinks(CaptureFrame* frame) = 0;
  /// The id of a new sink, from 1. `maxFrames` 0: without limit. `notify` is borrowed and may be null.
  virtual uint32_t addFrameSink(uint32_t contentType, uint32_t maxFrames,
                                ICaptureFrameSinkFrameNotify* notify) = 0;
  /// 1 where there was one. Frames taken from it must have been released before.
  virtual uint8_t removeFrameSink(uint32_t sinkId) = 0;
  /// Borrowed until it is removed; null where there is none.
  virtual CaptureFrameSink* getFrameSink(uint32_t sinkId) = 0;
  virtual uint32_t getFrameSinkCount() = 0;
  /// Bit 0 of `state`: run. `status` answers 2 where it runs already, 3 where it stands already, 8 where it is inactive.
  virtual uint32_t setActiveState(CaptureDeviceStateInfoData* info) = 0;
  /// The newest picture. -1: no preview; -3: no picture yet. Memory as VideoFrameBuffer::getFrameBGRA has it.
  virtual uint32_t getFrameBGRA(uint8_t** data, uint32_t* width, uint32_t* height, uint32_t* stride,
                                uint64_t* timecode) = 0;

  virtual void setAudioVolume(uint32_t value) = 0;
  virtual uint32_t getAudioVolume() = 0;
  virtual void setAudioLevelSamplesPerData(uint32_t value) = 0;
  virtual uint32_t getAudioLevelSamplesPerData() = 0;
  virtual void setAudioLevelTotalDataPoints(uint32_t value) = 0;  ///< forgets the levels so far
  virtual uint32_t getAudioLevelTotalDataPoints() = 0;
  /// At most `*count` points, which may be null as may the arrays; `*sampleId` is the ring position of the first.
  virtual uint32_t getAudioLevelData(uint64_t* timecodes, int32_t* average, int32_t* peak, uint32_t* count,
                                     uint64_t* sampleId) = 0;
  virtual void addAudioLevelData(uint64_t timecode, int32_t average, int32_t peak) = 0;
  virtual void setAudioLastLevelData(const AudioLevelData& value) = 0;
  virtual AudioLevelData getAudioLastLevelData() = 0;
  virtual std::string getInfoJSON() = 0;
  virtual void setFrameSinkIdForVideoPreview(uint32_t value) = 0;
  virtual uint32_t getFrameSinkIdForVideoPreview() = 0;
  virtual void setVideoFrameRateDivisor(uint32_t value) = 0;
  virtual uint32_t getVideoFrameRateDivisor() = 0;

  // Parameters of a session with the device; 0 where a device has none.
  virtual uint32_t startSessionParameterValues(uint32_t* sessionId) = 0;
  virtual uint32_t endSessionParameterValues(uint32_t sessionId) = 0;
  virtual uint32_t saveParameterValues(uint32_t sessionId) = 0;
  virtual uint32_t applyParameters(uint32_t sessionId) = 0;
  virtual uint32_t setParameterValueLong(uint32_t sessionId, uint32_t key, int64_t value) = 0;
  virtual uint32_t setParameterValueLongArray(uint32_t sessionId, uint32_t key, const int64_t* values,
                                              uint32_t count) = 0;
  virtual uint32_t setParameterValueDouble(uint32_t sessionId, uint32_t key, double value) = 0;
  virtual uint32_t setParameterValueDoubleArray(uint32_t sessionId, uint32_t key, const double* values,
                                                uint32_t count) = 0;
  virtual uint32_t setParameterValueString(uint32_t sessionId, uint32_t key, const std::string& value) = 0;
  virtual uint32_t getParameterValueType(uint32_t sessionId, uint32_t key, uint32_t* length) = 0;
  virtual uint32_t getParameterValueLong(uint32_t sessionId, uint32_t key, int64_t* value) = 0;
  virtual uint32_t getParameterValueLongArray(uint32_t sessionId, uint32_t key, int64_t* values,
                                              uint32_t* count) = 0;
  virtual uint32_t getParameterValueDouble(uint32_t sessionId, uint32_t key, double* value) = 0;
  virtual uint32_t getParameterValueDoubleArray(uint32_t sessionId, uint32_t key, double* values,
                                                uint32_t* count) = 0;
  virtual uint32_t getParameterValueString(uint32_t sessionId, uint32_t key, std::string* value) = 0;

  virtual TranscoderCaptureDeviceCaptureInputVideoData getVideoInputsAvailable() = 0;
  virtual void setVideoInputsAvailable(const TranscoderCaptureDeviceCaptureInputVideoData& value) = 0;
  virtual TranscoderCaptureDeviceCaptureInputVideoData getVideoInputsActive() = 0;
  virtual void setVideoInputsActive(const TranscoderCaptureDeviceCaptureInputVideoData& value) = 0;
  virtual void setVideoInputs(uint64_t value) = 0;
  virtual uint64_t getVideoInputs() = 0;
  virtual void setAudioInputs(uint64_t value) = 0;
  virtual uint64_t getAudioInputs() = 0;
  virtual void setAudioMaxChannelCount(uint32_t value) = 0;
  virtual uint32_t getAudioMaxChannelCount() = 0;
  virtual void setResetTimecodeSyncToWallClock() = 0;
  virtual uint8_t getAndClearResetTimecodeSyncToWallClock() = 0;
  /// This and the next: before capture starts.
  virtual void setAncillaryDataLineNumberRange(int32_t start, int32_t mid1, int32_t mid2, int32_t stop) = 0;
  virtual void addAncillaryDataFilter(const CaptureDeviceAncillaryDataFilter& filter) = 0;
  virtual void setOverlayInfo(const CaptureDeviceOverlayInfo& info) = 0;
  virtual CaptureDeviceOverlayInfo getOverlayInfo() = 0;
  virtual void setEmptyFrameWidth(uint32_t value) = 0;
  virtual uint32_t getEmptyFrameWidth() = 0;
  virtual void setEmptyFrameHeight(uint32_t value) = 0;
  virtual uint32_t getEmptyFrameHeight() = 0;
  virtual void setAudioChannelMap(const CaptureDeviceAudioChannelMap& value) = 0;
  virtual CaptureDeviceAudioChannelMap getAudioChannelMap() = 0;
  /// At most `*count` channels.
  virtual uint32_t getAudioLastAllLevelData(AudioLevelSingleChannelData* data, uint32_t* count) = 0;
  virtual void setDeinterlaceMode(uint32_t value) = 0;
  virtual uint32_t getDeinterlaceMode() = 0;
  virtual void setGPUID(int32_t value) = 0;
  virtual int32_t getGPUID() = 0;
};

}  // namespace qvs

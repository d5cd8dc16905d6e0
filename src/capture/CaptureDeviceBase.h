#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "capture/CaptureFrameSink.h"
#include "capture/CaptureFrameSinkRecycler.h"
#include "capture/ICaptureDevice.h"
#include "platform/IConcurrentLock.h"

namespace qvs {

/// What all devices share: records, sinks, recycler, levels, statistics, preview. `lock` guards what more than one
/// thread changes and is shared by sinks and recycler; it is never held while a thread is waited for.
class CaptureDeviceBase : public ICaptureDevice {
 public:
  CaptureDeviceBase();
  ~CaptureDeviceBase() override;
  CaptureDeviceBase(const CaptureDeviceBase&) = delete;
  CaptureDeviceBase& operator=(const CaptureDeviceBase&) = delete;

  void setLogger(ILogger* value) override { logger = value; }
  ILogger* getLogger() override { return logger; }
  uint8_t getActive() override { return active; }
  void setActive(uint8_t value) override { active = value; }
  std::string getDisplayName() override { return displayName; }
  void setDisplayName(const std::string& value) override { displayName = value; }
  uint8_t getInputFormatDetection() override { return inputFormatDetection; }
  void setInputFormatDetection(uint8_t value) override { inputFormatDetection = value; }
  void setCaptureParamsVideo(const CaptureDeviceCaptureParamsVideoData& value) override {
    writeLocked(captureParamsVideo, value);
  }
  CaptureDeviceCaptureParamsVideoData getCaptureParamsVideo() override {
    return readLocked(captureParamsVideo);
  }
  void setCaptureParamsAudio(const CaptureDeviceCaptureParamsAudioData& value) override {
    writeLocked(captureParamsAudio, value);
  }
  CaptureDeviceCaptureParamsAudioData getCaptureParamsAudio() override {
    return readLocked(captureParamsAudio);
  }
  void setCaptureSessionInfo(const CaptureSessionInfoData& value) override {
    writeLocked(captureSessionInfo, value);
  }
  CaptureSessionInfoData getCaptureSessionInfo() override { return readLocked(captureSessionInfo); }
  void setCaptureTargetVideo(const CaptureDeviceCaptureTargetVideoData& value) override {
    writeLocked(captureTargetVideo, value);
  }
  CaptureDeviceCaptureTargetVideoData getCaptureTargetVideo() override {
    return readLocked(captureTargetVideo);
  }
  void resetCaptureSessionInfo() override;
  uint64_t getFlags() override { return flags; }
  void setFlags(uint64_t value) override { flags = value; }
  uint64_t getHardwareId() override { return hardwareId; }
  void setHardwareId(uint64_t value) override { hardwareId = value; }
  uint32_t getId() override { return id; }
  void setId(uint32_t value) override { id = value; }
  uint32_t getImplementation() override { return implementation; }
  void setImplementation(uint32_t value) override { implementation = value; }
  std::string getModelName() override { return modelName; }
  void setModelName(const std::string& value) override { modelName = value; }
  uint8_t getRunning() override { return running; }
  void setRunning(uint8_t value) override { running = value; }

  uint32_t renditionCount() override { return static_cast<uint32_t>(renditions.size()); }
  void addRendition(std::unique_ptr<ICaptureDeviceRendition> rendition) override;
  ICaptureDeviceRendition* getRenditionById(uint32_t id) override;
  ICaptureDeviceRendition* getRendition(uint32_t index) override;

  uint32_t addCaptureFrameToFrameSinks(CaptureFrame* frame) override;
  uint32_t addFrameSink(uint32_t contentType, uint32_t maxFrames,
                        ICaptureFrameSinkFrameNotify* notify) override;
  uint8_t removeFrameSink(uint32_t sinkId) override;
  CaptureFrameSink* getFrameSink(uint32_t sinkId) override;
  uint32_t getFrameSinkCount() override;
  uint32_t setActiveState(CaptureDeviceStateInfoData*) override { return kSuccess; }
  uint32_t getFrameBGRA(uint8_t** data, uint32_t* width, uint32_t* height, uint32_t* stride,
                        uint64_t* timecode) override;

  void setAudioVolume(uint32_t value) override { audioVolume = value; }
  uint32_t getAudioVolume() override { return audioVolume; }
  void setAudioLevelSamplesPerData(uint32_t value) override { audioLevelSamplesPerData = value; }
  uint32_t getAudioLevelSamplesPerData() override { return audioLevelSamplesPerData; }
  void setAudioLevelTotalDataPoints(uint32_t value) override;
  uint32_t getAudioLevelTotalDataPoints() override { return readLocked(audioLevelTotalDataPoints); }
  uint32_t getAudioLevelData(uint64_t* timecodes, int32_t* average, int32_t* peak, uint32_t* count,
                             uint64_t* sampleId) override;
  void addAudioLevelData(uint64_t timecode, int32_t average, int32_t peak) override;
  void setAudioLastLevelData(const AudioLevelData& value) override { writeLocked(audioLastLevelData, value); }
  AudioLevelData getAudioLastLevelData() override { return readLocked(audioLastLevelData); }
  std::string getInfoJSON() override;
  void setFrameSinkIdForVideoPreview(uint32_t value) override { frameSinkIdForVideoPreview = value; }
  uint32_t getFrameSinkIdForVideoPreview() override { return frameSinkIdForVideoPreview; }
  void setVideoFrameRateDivisor(uint32_t value) override { videoFrameRateDivisor = value; }
  uint32_t getVideoFrameRateDivisor() override { return videoFrameRateDivisor; }

  // No parameters.
  uint32_t startSessionParameterValues(uint32_t*) override { return kSuccess; }
  uint32_t endSessionParameterValues(uint32_t) override { return kSuccess; }
  uint32_t saveParameterValues(uint32_t) override { return kSuccess; }
  uint32_t applyParameters(uint32_t) override { return kSuccess; }
  uint32_t setParameterValueLong(uint32_t, uint32_t, int64_t) override { return kSuccess; }
  uint32_t setParameterValueLongArray(uint32_t, uint32_t, const int64_t*, uint32_t) override {
    return kSuccess;
  }
  uint32_t setParameterValueDouble(uint32_t, uint32_t, double) override { return kSuccess; }
  uint32_t setParameterValueDoubleArray(uint32_t, uint32_t, const double*, uint32_t) override {
    return kSuccess;
  }
  uint32_t setParameterValueString(uint32_t, uint32_t, const std::string&) override { return kSuccess; }
  uint32_t getParameterValueType(uint32_t, uint32_t, uint32_t*) override { return kSuccess; }
  uint32_t getParameterValueLong(uint32_t, uint32_t, int64_t*) override { return kSuccess; }
  uint32_t getParameterValueLongArray(uint32_t, uint32_t, int64_t*, uint32_t*) override { return kSuccess; }
  uint32_t getParameterValueDouble(uint32_t, uint32_t, double*) override { return kSuccess; }
  uint32_t getParameterValueDoubleArray(uint32_t, uint32_t, double*, uint32_t*) override { return kSuccess; }
  uint32_t getParameterValueString(uint32_t, uint32_t, std::string*) override { return kSuccess; }

  TranscoderCaptureDeviceCaptureInputVideoData getVideoInputsAvailable() override {
    return readLocked(inputsAvailableVideo);
  }
  void setVideoInputsAvailable(const TranscoderCaptureDeviceCaptureInputVideoData& value) override {
    writeLocked(inputsAvailableVideo, value);
  }
  TranscoderCaptureDeviceCaptureInputVideoData getVideoInputsActive() override {
    return readLocked(inputsActiveVideo);
  }
  void setVideoInputsActive(const TranscoderCaptureDeviceCaptureInputVideoData& value) override {
    writeLocked(inputsActiveVideo, value);
  }
  void setVideoInputs(uint64_t value) override { videoInputs = value; }
  uint64_t getVideoInputs() override { return videoInputs; }
  void setAudioInputs(uint64_t value) override { audioInputs = value; }
  uint64_t getAudioInputs() override { return audioInputs; }
  void setAudioMaxChannelCount(uint32_t value) override { audioMaxChannelCount = value; }
  uint32_t getAudioMaxChannelCount() override { return audioMaxChannelCount; }
  void setResetTimecodeSyncToWallClock() override;
  uint8_t getAndClearResetTimecodeSyncToWallClock() override;
  void setAncillaryDataLineNumberRange(int32_t start, int32_t mid1, int32_t mid2, int32_t stop) override;
  void addAncillaryDataFilter(const CaptureDeviceAncillaryDataFilter& filter) override;
  void setOverlayInfo(const CaptureDeviceOverlayInfo& info) override;
  CaptureDeviceOverlayInfo getOverlayInfo() override { return readLocked(overlayInfo); }
  void setEmptyFrameWidth(uint32_t value) override { emptyFrameWidth = value; }
  uint32_t getEmptyFrameWidth() override { return emptyFrameWidth; }
  void setEmptyFrameHeight(uint32_t value) override { emptyFrameHeight = value; }
  uint32_t getEmptyFrameHeight() override { return emptyFrameHeight; }
  void setAudioChannelMap(const CaptureDeviceAudioChannelMap& value) override {
    writeLocked(audioChannelMap, value);
  }
  CaptureDeviceAudioChannelMap getAudioChannelMap() override { return readLocked(audioChannelMap); }
  uint32_t getAudioLastAllLevelData(AudioLevelSingleChannelData* data, uint32_t* count) override;
  void setDeinterlaceMode(uint32_t value) override { writeLocked(deinterlaceMode, value); }
  uint32_t getDeinterlaceMode() override { return readLocked(deinterlaceMode); }
  void setGPUID(int32_t value) override { writeLocked(gpuid, value); }
  int32_t getGPUID() override { return readLocked(gpuid); }

  uint32_t getFrameSinkCountVideo() const { return frameSinkCountVideo; }
  uint32_t getFrameSinkCountAudio() const { return frameSinkCountAudio; }
  /// Grows with each overlay that is set.
  uint64_t getOverlayInfoIndex() { return readLocked(overlayInfoIndex); }
  bool isAncillaryDataFilterMatch(uint32_t did, uint32_t sid) const;
  void setAudioLastAllLevelData(const AudioLevelSingleChannelData* data, uint32_t count);
  void clearAudioLastAllLevelData();

  /// A picture to fill: one that has been used, or a new one; null where there is no memory. The caller owns it.
  CaptureFrame* createCaptureFrameVideo(uint32_t width, uint32_t height, uint32_t fourcc,
                                        VideoFrameBufferSet* set);
  CaptureFrame* createCaptureFrameAudio(uint32_t sampleCount, uint32_t channels, uint32_t sampleRate);

  // Levels of interleaved 16-bit sound; `sampleCount` is a channel's.

  /// Of two channels; all 0 for other sound.
  static void calculateAudioLevels(const uint8_t* buffer, uint32_t sampleCount, uint32_t channels,
                                   uint32_t bytesPerSample, uint32_t sampleRate, AudioLevelData* out);
  /// Of up to 32 channels, one record each.
  static void calculateAudioLevelsAll(const uint8_t* buffer, uint32_t sampleCount, uint64_t timecode,
                                      uint32_t channels, uint32_t bytesPerSample, uint32_t sampleRate,
                                      AudioLevelSingleChannelData* out);
  /// Changes the volume of two channels in place, clipped.
  static void scaleAudio(uint8_t* buffer, uint32_t sampleCount, uint32_t channels, uint32_t bytesPerSample,
                         uint32_t sampleRate, double gainDb);

 protected:
  template <typename Value>
  Value readLocked(const Value& value) {
    const ScopedLock guard(*lock);
    return value;
  }
  template <typename Value>
  void writeLocked(Value& target, const Value& value) {
    const ScopedLock guard(*lock);
    target = value;
  }
  /// Changes the statistics where they lie: copying them takes longer than what a frame changes.
  template <typename Change>
  void changeSessionInfo(Change change) {
    const ScopedLock guard(*lock);
    change(captureSessionInfo);
  }
  void clearPreview();

  ILogger* logger = nullptr;  ///< borrowed
  uint32_t id = 0;
  uint32_t implementation = 0;
  uint64_t hardwareId = 0;
  std::string modelName;
  std::string displayName;
  uint8_t inputFormatDetection = 0;
  uint64_t videoInputs = 0;  ///< bit mask, as the next
  uint64_t audioInputs = 0;
  uint32_t audioMaxChannelCount = 0;
  uint64_t flags = 0;
  std::vector<std::unique_ptr<ICaptureDeviceRendition>> renditions;
  int32_t ancillaryDataLineNumberStart = -1;
  int32_t ancillaryDataLineNumberMid1 = -1;
  int32_t ancillaryDataLineNumberMid2 = -1;
  int32_t ancillaryDataLineNumberStop = -1;
  int32_t ancillaryDataFilter = 0;
  std::vector<CaptureDeviceAncillaryDataFilter> ancillaryDataFilterItems;

  std::atomic<uint8_t> active{1};
  std::atomic<uint8_t> running{0};
  std::atomic<uint32_t> audioVolume{100};  ///< per cent
  std::atomic<uint32_t> audioLevelSamplesPerData{6000};
  std::atomic<uint32_t> frameSinkIdForVideoPreview{0};
  std::atomic<uint32_t> videoFrameRateDivisor{1};
  std::atomic<uint32_t> emptyFrameWidth{0};
  std::atomic<uint32_t> emptyFrameHeight{0};
  std::atomic<uint32_t> frameSinkCountVideo{0};
  std::atomic<uint32_t> frameSinkCountAudio{0};

  const std::unique_ptr<IConcurrentLock> lock;  ///< guards all that follows
  CaptureDeviceCaptureParamsVideoData captureParamsVideo;
  CaptureDeviceCaptureParamsAudioData captureParamsAudio;
  CaptureSessionInfoData captureSessionInfo;
  CaptureDeviceCaptureTargetVideoData captureTargetVideo;
  TranscoderCaptureDeviceCaptureInputVideoData inputsAvailableVideo;
  TranscoderCaptureDeviceCaptureInputVideoData inputsActiveVideo;
  CaptureDeviceOverlayInfo overlayInfo;
  uint64_t overlayInfoIndex = 0;
  CaptureDeviceAudioChannelMap audioChannelMap;
  uint8_t resetTimecodeSyncToWallClock = 0;
  uint32_t deinterlaceMode = 0;
  int32_t gpuid = -1;
  uint64_t nextVideoFrameIndex = 0;
  uint64_t nextAudioFrameIndex = 0;
  uint32_t audioLevelTotalDataPoints = 4000;
  std::vector<int32_t> audioLevelAverageData;  ///< this and the next two: a ring
  std::vector<int32_t> audioLevelPeakData;
  std::vector<uint64_t> audioLevelTimecodeData;
  uint64_t audioLevelDataCount = 0;  ///< points ever written
  AudioLevelData audioLastLevelData;
  std::array<AudioLevelSingleChannelData, CaptureSessionInfoData::kChannelsMax> audioLastAllLevelData{};
  uint32_t audioLastAllLevelDataCount = 0;
  std::unique_ptr<VideoFrameBufferSet> bufferSet;  ///< made with the first picture; used by its frames
  CaptureFrameSinkRecycler frameSyncRecycler;
  uint32_t nextFrameSinkId = 0;
  std::map<uint32_t, std::unique_ptr<CaptureFrameSink>> frameSinks;

  std::mutex previewLock;  ///< a frame's converter to BGRA serves one reader; taken before `lock`

 private:
  void allocaleAudioLevelData();
};

}  // namespace qvs

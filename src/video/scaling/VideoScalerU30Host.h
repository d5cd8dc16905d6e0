#pragma once

#include <qvs/video_scaler.h>

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "frames/VideoFrameBufferTimecodeInfo.h"
#include "platform/RingQueue.h"
#include "plugin/PluginSession.h"
#include "video/scaling/VideoScalerBase.h"

namespace qvs {

/// What of a picture waits while the card scales it.
struct VideoProperties {
  uint32_t frameType = 0;
  uint64_t timecode = 0;
  uint32_t timecodeInfoCount = 0;
  std::array<VideoFrameBufferTimecodeInfo, 12> timecodeInfo{};
};

/// The scaler of the accelerator card, which makes all renditions of a picture in one pass and in a pipeline: what comes
/// out may belong to an earlier picture, whose type, time and timecode records wait here for it.
///
/// A source on the card ("HN12") gives its handle to the plug-in with the call, whatever that answers, and the targets
/// get handles in turn; a "YV12" source is copied into the plug-in's memory and out of it. No other format is scaled.
/// A source of another size than the last is told to the plug-in first. Without a source, what is still on its way comes
/// out, a picture a call, until the count comes back as 0: an extension that a plug-in may refuse.
class VideoScalerU30Host : public VideoScalerBase {
 public:
  VideoScalerU30Host() = default;
  ~VideoScalerU30Host() override;

  using VideoScalerBase::getParameterValue;
  using VideoScalerBase::setParameterValue;

  /// Whether the plug-in in the directory `path` loads and answers; the numbers are its version.
  static bool isAvailable(const std::string& path, ILogger* logger, uint32_t* major, uint32_t* minor);
  /// The plug-in in a directory; empty where that takes `size` characters or more.
  static void getPluginPath(const char* path, char* out, uint32_t size);

  void setNativePath(char* path) override;
  uint32_t create() override;
  uint32_t close();
  uint32_t setGPUID(int32_t gpuid) override;
  uint32_t setSource(uint32_t width, uint32_t height, double rate) override;
  uint32_t addScaling(uint32_t width, uint32_t height, double rate, uint32_t scaleIndex,
                      bool stableFramerate) override;
  uint32_t initialize() override;
  uint32_t scaleFrame(VideoFrameBuffer* source, std::vector<VideoScalerTarget>* targets,
                      uint32_t* count) override;
  uint32_t getLastStatus() override { return lastStatus; }
  uint32_t applyParameters() override;
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) override;
  uint32_t setParameterValue(uint32_t key, double value) override;
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) override;
  uint32_t getParameterValue(uint32_t key, int64_t* value) override;
  uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) override;
  uint32_t getParameterValue(uint32_t key, double* value) override;

 private:
  static constexpr uint32_t kTargetsMax = 9;
  using Pictures = std::array<PluginVideoBuffer, kTargetsMax>;

  void logStatus(const PluginAnswer& answer, int32_t where) const;
  void logError(const char* operation, const std::string& text) const;
  template <typename Entry, typename... Arguments>
  uint32_t status(const char* label, Entry entry, Arguments... arguments);
  uint32_t flush(const std::vector<VideoScalerTarget>& targets, uint32_t* count);
  void takeOldest(const std::vector<VideoScalerTarget>& targets, uint32_t ready, uint32_t* count);
  void freeSource();
  bool takeSource(VideoFrameBuffer& source);
  void describeTargets(const std::vector<VideoScalerTarget>& targets, bool fromHost);
  uint32_t scale(bool onCard, uint32_t* count);
  void tellFailure(uint32_t count) const;
  void deliver(const std::vector<VideoScalerTarget>& targets, const VideoProperties& properties);
  bool deliver(VideoFrameBuffer& target, const PluginVideoBuffer& picture) const;

  PluginSession<PluginVideoScaler> plugin;
  std::string nativePath;              ///< directory of the plug-in
  PluginVideoBuffer srcFrame{};        ///< of the picture in work
  PluginVideoBuffer srcFrame_alloc{};  ///< memory that the plug-in gave for pictures out of the host's
  uint32_t decodeWidth = 0;
  uint32_t decodeHeight = 0;
  double decodeRate = 0.0;
  Pictures pictures{};                        ///< of the targets, largest first
  std::array<uint32_t, kTargetsMax> order{};  ///< which target each of them is
  uint32_t targetCount = 0;
  uint32_t lastStatus = 0;
  RingQueue<VideoProperties> videoProperties;  ///< of the pictures on their way
  mutable uint32_t refusals = 0;               ///< so far; told when new and when doubled
};

}  // namespace qvs

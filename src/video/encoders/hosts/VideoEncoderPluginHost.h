#pragma once

#include <qvs/video_encoder.h>

#include <cstdint>
#include <string>
#include <vector>

#include "frames/EncodedUnits.h"
#include "plugin/PluginSession.h"
#include "video/encoders/hosts/PluginEncoderRow.h"
#include "video/encoders/VideoEncoderBase.h"

namespace qvs {

/// An encoder that lives in a library loaded at run time: one driver for all of them; what differs is a
/// PluginEncoderRow.
///
/// `createDone` loads the library; where it is missing a harmless object is left whose calls give 0 and which
/// makes no frames. So does every call that the plug-in doesn't offer. Settings, `checkSettings` and `initialize`
/// give 0 whatever the plug-in answers, which only the log tells; `addFrame` and the parameters give the plug-in's
/// own answer. Parameter keys are the plug-in's.
class VideoEncoderPluginHost : public VideoEncoderBase {
 public:
  explicit VideoEncoderPluginHost(const PluginEncoderRow& row);

  using VideoEncoderBase::getParameterValue;
  using VideoEncoderBase::setParameterValue;

  /// Whether the row's plug-in in the directory `path` loads and answers; the two numbers are what it gives as its
  /// version. A status is told to `logger`.
  static bool isAvailable(const PluginEncoderRow& row, const std::string& path, ILogger* logger,
                          uint32_t* major, uint32_t* minor);

  void setNativePath(char* path) override;
  uint32_t createDone() override;
  uint32_t setGPUID(int32_t gpuid) override;
  uint32_t setDefaults(int32_t videoType, int32_t pal) override;
  uint32_t setFrameSize(uint32_t width, uint32_t height) override;
  uint32_t setFrameRate(double frameRate) override;
  uint32_t setBitrate(uint32_t bitrate) override;
  uint32_t updateBitrate(uint32_t bitrate) override;
  uint32_t setKeyFrameFollow(uint8_t keyFrameFollow) override;
  uint32_t checkSettings() override;
  uint32_t initialize() override;
  uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;

  /// Frames received since creation; taking them doesn't lower it.
  uint32_t getEncodedFrameCount() override { return frameCount; }
  uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& out) override;
  uint32_t applyParameters() override;
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) override;
  uint32_t setParameterValue(uint32_t key, double value) override;
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) override;
  uint32_t getParameterValue(uint32_t key, int64_t* value) override;
  uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) override;
  uint32_t getParameterValue(uint32_t key, double* value) override;

 protected:
  const PluginEncoderRow& row;
  PluginSession<pluginVideoEncoder> plugin;
  std::string nativePath;    ///< directory of the library
  uint32_t frameCount = 0;   ///< received from the plug-in so far
  EncodedVideoUnits frames;  ///< until fetched

  /// Writes a line for a positive status. `level` 1 debug, 3 error, else warning.
  void logStatus(int32_t status, int32_t level) const;

 private:
  static void logStatus(const PluginEncoderRow& row, ILogger* logger, int contextIndex, int32_t status,
                        int32_t level);
  template <typename Entry, typename... Arguments>
  uint32_t setting(Entry entry, Arguments... arguments);
  template <typename Entry, typename... Arguments>
  uint32_t parameter(Entry entry, Arguments... arguments);
  void takeFrames(void* const* buffers, const uint32_t* sizes, const uint32_t* frameTypes,
                  const uint64_t* timecodes, const uint64_t* timecodeOffsets, uint32_t count);
};

/// For selection tables: a new host of the row.
template <const PluginEncoderRow& kRow>
std::unique_ptr<IVideoEncoder> makePluginEncoder() {
  return std::make_unique<VideoEncoderPluginHost>(kRow);
}

}  // namespace qvs

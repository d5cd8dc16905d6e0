#pragma once

#include <qvs/video_encoder.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "frames/EncodedUnits.h"
#include "plugin/PluginStatusLine.h"
#include "plugin/PluginThread.h"
#include "video/encoders/hosts/PluginEncoderRow.h"
#include "video/encoders/hosts/PluginEncoderWork.h"
#include "video/encoders/VideoEncoderBase.h"

namespace qvs {

class VideoFrameBufferAllocation;

/// An encoder that lives in a library loaded at run time: one driver for all of them; what differs is a
/// PluginEncoderRow.
///
/// `createDone` loads the library; where it is missing a harmless object is left whose calls give 0 and which
/// makes no frames. So does every call that the plug-in doesn't offer. Settings, `checkSettings` and `initialize`
/// give 0 whatever the plug-in answers, which only the log tells; `addFrame` and the parameters give the plug-in's
/// own answer. Parameter keys are the plug-in's.
///
/// Keys from 900000 on are the host's own and off by default: `asynchronous` (`addFrame` keeps the frame and returns
/// while a thread of the host's encodes it; `getEncodedFrames` waits for it), `flush` (any value: the plug-in's last
/// frames come out with the next `getEncodedFrames`), `callDeadline` (milliseconds that a call into the plug-in may
/// take; past it the plug-in is given up, and every call from then on fails). With a deadline, or asynchronous, all
/// calls into the plug-in come from the host's thread; a failure of a picture is told by the next call.
class VideoEncoderPluginHost : public VideoEncoderBase {
 public:
  static constexpr uint32_t kKeyAsynchronous = 900000;
  static constexpr uint32_t kKeyFlush = 900001;
  static constexpr uint32_t kKeyCallDeadline = 900002;

  explicit VideoEncoderPluginHost(const PluginEncoderRow& row);
  ~VideoEncoderPluginHost() override;

  using VideoEncoderBase::getParameterValue;
  using VideoEncoderBase::setParameterValue;

  /// Whether the row's plug-in in the directory `path`, in the form for this access, loads and answers; the two
  /// numbers are what it gives as its version. A status is told to `logger`.
  static bool isAvailable(const PluginEncoderRow& row, const std::string& path, uint32_t hardwareAccess,
                          ILogger* logger, uint32_t* major, uint32_t* minor);

  /// HardwareAccess, before `createDone`.
  void setHardwareAccess(uint32_t access) { hardwareAccess = access; }
  uint32_t getHardwareAccess() const { return hardwareAccess; }

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
  uint32_t getEncodedFrameCount() override;

  /// After a failure that was not told yet it gives that, and the frames with the next call.
  uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& out) override;
  uint32_t applyParameters() override;
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) override;
  uint32_t setParameterValue(uint32_t key, double value) override;
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) override;
  uint32_t getParameterValue(uint32_t key, int64_t* value) override;
  uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) override;
  uint32_t getParameterValue(uint32_t key, double* value) override;
  void finish() override;

 private:
  using Plugin = PluginSession<pluginVideoEncoder>;

  PluginLogPlace place() const;
  std::string head(const char* operation) const;
  /// True for the first, second, fourth ... time, so that what comes with every picture doesn't fill the log.
  static bool worthTelling(uint32_t& times);
  void logStatus(const PluginAnswer& answer, int32_t level) const;

  bool loadPlugin();
  void closePlugin();
  void updateThread();
  void giveUp();
  template <typename Body>
  auto drive(const char* operation, Body body) -> std::optional<std::invoke_result_t<Body, Plugin&>>;
  template <typename Entry, typename... Arguments>
  uint32_t setting(const char* operation, Entry entry, Arguments... arguments);
  template <typename Entry, typename... Arguments>
  uint32_t parameter(Entry entry, Arguments... arguments);
  template <typename Value, typename Entry>
  uint32_t readParameter(Entry entry, uint32_t key, Value* value);

  bool isEncodable(const VideoFrameBuffer& frame);
  uint32_t collect();
  void tellLies();
  void tellRepeatedTimes();
  uint32_t flush();
  int64_t* ownKey(uint32_t key);

  const PluginEncoderRow& row;
  std::string nativePath;  ///< directory of the library
  uint32_t hardwareAccess;
  int64_t asynchronous = 0;
  int64_t callDeadline = 0;  ///< milliseconds; 0: none
  int64_t flushed = 0;

  std::shared_ptr<PluginEncoderWork> work;           ///< the thread's while a call is in work there
  std::unique_ptr<PluginThread> thread;              ///< null: calls are made in place
  const char* operationInWork = "";                  ///< for the line about one that doesn't return
  VideoFrameBuffer* frameInWork = nullptr;           ///< kept by the next, or by who waits in addFrame
  std::shared_ptr<VideoFrameBufferAllocation> hold;  ///< keeps the frame out of its pool while it is read
  bool givenUp = false;                              ///< a call didn't return: there is no plug-in any more
  uint32_t untold = 0;                   ///< what the picture in work failed with, until a call gives it
  uint32_t frameCount = 0;               ///< received from the plug-in so far
  EncodedVideoUnits frames;              ///< until fetched
  std::optional<uint64_t> lastTimecode;  ///< of the coded frames
  /// So far, for `worthTelling`.
  uint32_t failures = 0, refusals = 0, overclaims = 0, withoutBytes = 0, tooLong = 0, repeats = 0;
};

/// For selection tables: a new host of the row.
template <const PluginEncoderRow& kRow>
std::unique_ptr<IVideoEncoder> makePluginEncoder() {
  return std::make_unique<VideoEncoderPluginHost>(kRow);
}

}  // namespace qvs

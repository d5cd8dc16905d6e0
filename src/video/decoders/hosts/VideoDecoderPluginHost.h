#pragma once

#include <qvs/video_decoder.h>

#include <bit>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "contract/HardwareInfo.h"
#include "platform/Guard.h"
#include "plugin/PluginSession.h"
#include "plugin/PluginStatusLine.h"
#include "plugin/PluginThread.h"
#include "video/decoders/hosts/PluginDecoderRow.h"
#include "video/decoders/hosts/PluginDecoderWork.h"
#include "video/decoders/VideoDecoderBase.h"

namespace qvs {

/// A decoder that lives in a library loaded at run time: one driver for all of them; what differs is a
/// PluginDecoderRow. The plug-in, not the base, has the stream's state: sizes, rate, time and flags are asked of it,
/// and timecodes ride in it.
///
/// `createDone` loads the library; where it is missing a harmless object is left whose calls give 0 and which
/// decodes nothing. So does every call that the plug-in doesn't offer. Parameter keys are the plug-in's, but for
/// `endOfStream` and `callDeadline` (milliseconds that a call into the plug-in may take, 0 by default: as long as it
/// likes). With a deadline all calls come from a thread of the host's; past it the plug-in is given up, and every call
/// from then on fails. The making of the session has a deadline of the row's.
class VideoDecoderPluginHost : public VideoDecoderBase {
 public:
  /// As with the decoders behind a stream record: non-zero, and no input left: what the plug-in holds back comes out.
  static constexpr uint32_t kKeyEndOfStream = 100200;
  static constexpr uint32_t kKeyCallDeadline = 900002;

  explicit VideoDecoderPluginHost(const PluginDecoderRow& row);
  ~VideoDecoderPluginHost() override;

  using VideoDecoderBase::getParameterValue;
  using VideoDecoderBase::setParameterValue;

  /// Whether the row's plug-in in the directory `path`, in the form for this access, loads and answers; the two
  /// numbers are what it gives as its version. A status is told to `logger`.
  static bool isAvailable(const PluginDecoderRow& row, const std::string& path, uint32_t hardwareAccess,
                          ILogger* logger, uint32_t* major, uint32_t* minor);

  /// HardwareAccess, before `createDone`.
  void setHardwareAccess(uint32_t access) { hardwareAccess = access; }
  uint32_t getHardwareAccess() const { return hardwareAccess; }

  void setNativePath(char* path) override;
  uint32_t createDone() override;
  uint32_t setGPUID(int32_t gpuid) override;
  uint32_t initialize() override;
  uint32_t close() override;
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;

  /// Without the entry points, or a session, 0 with `flags` as they were.
  uint32_t decode(uint32_t* flags) override;
  uint32_t decode(uint32_t* flags, uint8_t flush) override;
  uint8_t isFrameDone() override;

  /// The plug-in is told no more of the target than where it is and how long its rows are: one of another size than
  /// the picture's is refused.
  uint32_t getDecodedFrame(VideoFrameBuffer& frame) override;
  uint32_t getDecodedFrameSize(uint32_t* frameWidth, uint32_t* frameHeight, uint32_t* displayWidth,
                               uint32_t* displayHeight) override;
  uint32_t getFrameWidth() override;
  uint32_t getFrameHeight() override;
  uint32_t getDisplayWidth() override;
  uint32_t getDisplayHeight() override;
  double getFrameRate() override;
  uint32_t getDecodedFrameType() override;
  uint64_t getDecodedFrameTimecode() override;
  uint64_t getDecodedFrameFlags() override;
  uint8_t getDeinterlace();
  void setDeinterlace(uint8_t value);
  uint32_t applyParameters() override;
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) override;
  uint32_t setParameterValue(uint32_t key, double value) override;
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) override;
  uint32_t getParameterValue(uint32_t key, int64_t* value) override;
  uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) override;
  uint32_t getParameterValue(uint32_t key, double* value) override;

 protected:
  using Work = PluginDecoderWork;

  void logStatus(const PluginAnswer& answer) const;
  template <typename Body>
  auto drive(const char* operation, Body body) -> std::optional<std::invoke_result_t<Body, Work&>>;
  template <typename Body>
  uint32_t status(const char* operation, Body body);
  template <typename Entry, typename... Arguments>
  uint32_t forward(const char* operation, Entry entry, Arguments... arguments);
  template <typename Entry, typename... Arguments>
  auto ask(Entry entry, Arguments... arguments);
  template <typename Value, typename Entry>
  uint32_t readParameter(Entry entry, uint32_t key, Value Work::*got, Value* value);
  bool createSession();
  void closePlugin();
  void updateThread();
  void giveUp(const char* operation);
  bool fits(const VideoFrameBuffer& frame);
  /// decode2; `flags` stay where the plug-in lacks it.
  uint32_t step(uint32_t* flags, uint8_t flush);

  const PluginDecoderRow& row;
  std::shared_ptr<Work> work;            ///< the thread's while a call is in work there
  std::unique_ptr<PluginThread> thread;  ///< null: calls are made in place
  VideoFrameBuffer* target = nullptr;    ///< that the call in work writes to
  bool givenUp = false;                  ///< a call didn't return: there is no plug-in any more
  int64_t callDeadline = 0;              ///< milliseconds; 0: none
  std::string nativePath;                ///< directory of the library
  uint32_t hardwareAccess = kHardwareAccessDrm;
  uint32_t endOfStream = 0;
  uint32_t failures = 0;  ///< so far, as the next: told when new and when doubled
  uint32_t refusals = 0;
};

/// Makes a call in place, or on the thread where there is one: `body` touches nothing but the work, and what it is told
/// as `target`. Nothing: it threw, or the plug-in is given up.
template <typename Body>
auto VideoDecoderPluginHost::drive(const char* operation, Body body)
    -> std::optional<std::invoke_result_t<Body, Work&>> {
  if (givenUp) return std::nullopt;
  if (!thread) return body(*work);
  work->putStep(std::move(body));
  const bool returned = thread->start([shared = work.get(), label = row.label] {
    guarded(label, [&] { shared->runStep(); });
  }) && thread->wait();
  if (returned) return work->template takeStep<Body>();
  giveUp(operation);
  return std::nullopt;
}

/// A call whose number is a status, told in the log when it is new and each time such calls have doubled: a stream
/// that goes wrong does so with every unit.
template <typename Body>
uint32_t VideoDecoderPluginHost::status(const char* operation, Body body) {
  return guarded(row.label, [&] {
    const std::optional<PluginAnswer> answer = drive(operation, std::move(body));
    if (!answer) return kFailure;
    if (answer->status != 0 && std::has_single_bit(++failures)) logStatus(*answer);
    return static_cast<uint32_t>(answer->status);
  });
}

template <typename Entry, typename... Arguments>
uint32_t VideoDecoderPluginHost::forward(const char* operation, Entry entry, Arguments... arguments) {
  return status(operation, [=](Work& it) { return it.plugin.ask(entry, arguments...); });
}

/// A call whose number is an answer.
template <typename Entry, typename... Arguments>
auto VideoDecoderPluginHost::ask(Entry entry, Arguments... arguments) {
  using Answer = decltype(work->plugin.call(entry, arguments...));
  return guarded(
      row.label,
      [&] {
        return drive("ask", [=](Work& it) { return it.plugin.call(entry, arguments...); }).value_or(Answer{});
      },
      Answer{});
}

/// For selection tables: a new host of the row.
template <const PluginDecoderRow& kRow>
std::unique_ptr<IVideoDecoder> makePluginDecoder() {
  return std::make_unique<VideoDecoderPluginHost>(kRow);
}

}  // namespace qvs

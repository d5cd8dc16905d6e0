#pragma once

#include <qvs/video_encoder.h>

#include <array>
#include <cstdint>
#include <memory>

#include "frames/EncodedUnits.h"
#include "mc_frame.h"
#include "plugin/PluginSession.h"

namespace qvs {

/// An encoder plug-in's session with the one picture in work on it and what comes of that. The host's own thread
/// shares it, since a call that doesn't return keeps all that it reads and writes.
class PluginEncoderWork {
 public:
  /// How the picture in work goes in.
  enum class Form : uint8_t { kPlane, kPlanes, kFrame };

  std::shared_ptr<void>
      held;  ///< what the session or its pictures need and the work keeps alive; it goes last
  PluginSession<pluginVideoEncoder> plugin;

  // The picture in work.
  frame_tt picture{};  ///< its planes are the frame's
  uint32_t frameType = 0;
  uint64_t timecode = 0;  ///< milliseconds
  Form form = Form::kPlane;
  PluginVideoBuffer record{};            ///< has all of the above, for kPlanes
  PluginVideoFrameBuffer frameRecord{};  ///< the same, for kFrame

  // What came of the last call; the host takes it.
  PluginAnswer answer;
  EncodedVideoUnits frames;
  uint32_t claimed = 0;       ///< frames that the plug-in says it gave
  uint32_t withoutBytes = 0;  ///< of these, frames with a null pointer
  uint32_t tooLong = 0;       ///< frames said to be longer than their memory, which were dropped

  /// Gives the picture in work to the plug-in.
  void encode();

  /// Asks for what the plug-in still holds; nothing claimed when there is no more.
  void drain();

 private:
  static constexpr uint32_t kMax = QVS_VIDEO_ENCODER_FRAMES_MAX;

  template <typename Entry, typename... Arguments>
  void callForFrames(Entry entry, Arguments... arguments);
  template <typename Entry, typename Record>
  void encodeRecord(Entry entry, Record* record);
  void takeFrame(size_t index);
  void takeFrame(void* bytes, uint32_t size, uint64_t time, int64_t offset, uint32_t type);

  std::array<VideoFrameEncodedData, kMax> records{};
  std::array<void*, kMax> buffers{};
  std::array<uint32_t, kMax> sizes{};
  std::array<uint32_t, kMax> frameTypes{};
  std::array<uint64_t, kMax> timecodes{};
  std::array<uint64_t, kMax> timecodeOffsets{};
};

}  // namespace qvs

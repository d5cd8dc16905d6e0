#pragma once

#include <cstdint>
#include <string>

#include "platform/SharedLibrary.h"
#include "qvs/video_scaler.h"

namespace qvs {

/// The optional scaler plug-in, which halves pictures and draws overlays in place. One for the process, never
/// destroyed, so that frames may hold sessions of it for as long as they live.
///
/// `setNativePath` and `initialize` belong to start-up; afterwards any thread may use the rest, one thread at
/// a time per session. Every operation is safe, and fails, while there is no plug-in.
class VideoFrameIntrinsicScalerSingleton {
 public:
  static VideoFrameIntrinsicScalerSingleton* getInstance();

  /// The directory that holds the plug-in. Only index 0 counts; a path of 512 bytes or more is ignored.
  void setNativePath(uint32_t index, const char* path);

  /// Loads the plug-in. 0 also when there is none: it is optional. A loaded one stays, whatever the path is
  /// now.
  uint32_t initialize();

  bool isAvailable() const { return available; }

  /// A new session in `*session`, to be given to `destroy`. kFailure, with null, when there is no plug-in, it
  /// lacks the entry point, or it fails.
  uint32_t create(void** session);
  uint32_t destroy(void* session);

  /// Writes the planar 4:2:0 `source` at half its size into `target`; the records' plane layout is that of
  /// "qvs/video_scaler.h". kFailure where the plug-in lacks the entry point, else what the plug-in gives: 0
  /// on success.
  uint32_t scaleByHalf(void* session, const VideoFrameIntrinsicScalerFrame* source,
                       VideoFrameIntrinsicScalerFrame* target);

  /// Draws the "VUYA" picture `overlay` on `target` with its top left pixel at (x, y): even, may be negative
  /// numbers. `mode` 1 blends. Results as for `scaleByHalf`.
  uint32_t overlayFrame(void* session, uint32_t mode, uint32_t x, uint32_t y,
                        const VideoFrameIntrinsicScalerFrame* overlay,
                        VideoFrameIntrinsicScalerFrame* target);

 private:
  VideoFrameIntrinsicScalerSingleton() = default;

  std::string load();

  char nativePath[512] = {};
  SharedLibrary lib_handle;
  PluginVideoScaler plugin{};
  bool available = false;
};

}  // namespace qvs

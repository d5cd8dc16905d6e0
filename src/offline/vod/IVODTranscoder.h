#pragma once

#include <qvs/vod_transcoder.h>

#include <cstdint>
#include <vector>

#include "frames/VideoFrameEncoded.h"

namespace qvs {

class ILogger;
class JNIAllocator;

/// Transcodes batches of stored frames, with a decoder and an encoder of its own. Made for one call.
///
/// Order of calls: `setJNIAllocator`, `setLogger`, `setNativePath`, `createDone`; then `transcode` or `getCodecConfig`.
class IVODTranscoder {
 public:
  virtual ~IVODTranscoder() = default;

  /// `inFrames` in Annex B, borrowed. Appends what came of them, its bytes in arrays of the allocator.
  virtual uint32_t transcode(VODTranscoderVideoSettings& settings,
                             const std::vector<VideoFrameEncoded>& inFrames,
                             std::vector<VideoFrameEncoded>& outFrames) = 0;
  /// The encoder's configuration as one frame.
  virtual uint32_t getCodecConfig(VODTranscoderVideoSettings& settings, VideoFrameEncoded& frame) = 0;
  virtual void setJNIAllocator(JNIAllocator* allocator) = 0;  ///< borrowed
  virtual void setLogger(ILogger* logger) = 0;                ///< borrowed
  virtual void setNativePath(const char* path) = 0;
  virtual uint32_t createDone() = 0;
};

}  // namespace qvs

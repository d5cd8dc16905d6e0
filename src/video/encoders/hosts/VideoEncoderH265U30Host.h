#pragma once

#include <cstdint>
#include <string>

#include "frames/VideoFrameBuffer.h"
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

namespace qvs {

/// H.264 and H.265 on the card. Takes pictures that lie there already ("HN12") without touching a pixel, and "YV12" by a
/// copy into NV12. A picture's handle is the plug-in's from the call on that passes it, whatever that answers.
///
/// Stricter than the driver: `createDone`, `setDefaults`, `checkSettings` and `initialize` give the plug-in's status.
class VideoEncoderH265U30Host : public VideoEncoderPluginHost {
 public:
  VideoEncoderH265U30Host();

  /// Tells the plug-in the cards and the image that each runs; 0 where it took them. Behind `createDone`.
  uint32_t setFirmware(int64_t deviceCount, const std::string& image);

  uint32_t initialize() override;
  uint32_t applyParameters() override;
  /// A picture that isn't passed on stays the frame's, whose pool gives it back.
  uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  /// A picture that lies on the card is released there; any other is simply not encoded.
  uint32_t skipFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  FrameAllocProvider getAllocProvider() override;
  FrameFreeProvider getFreeProvider() override;

 protected:
  bool takePicture(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  bool takesPictures() const override;

 private:
  static void describe(const VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode,
                       PluginVideoBuffer* out);
  bool stage(const VideoFrameBuffer& frame);

  std::shared_ptr<VideoFrameBuffer> frame_nv12;  ///< where "YV12" becomes "NV12"; the work holds it too
};

}  // namespace qvs

#pragma once

#include <cstdint>
#include <memory>

#include "video/encoders/hosts/NvencDevice.h"
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

namespace qvs {

/// H.264 and H.265 on an NVIDIA card. A picture that lies on the same card goes in from there, any other from host
/// memory. `applyParameters` brings the card up and tells the plug-in the codec and the context.
class VideoEncoderH26XNVENC12Host : public VideoEncoderPluginHost {
 public:
  VideoEncoderH26XNVENC12Host();
  ~VideoEncoderH26XNVENC12Host() override;

  uint32_t setGPUID(int32_t value) override;
  uint32_t applyParameters() override;

  /// Gives the plug-in's status.
  uint32_t initialize() override;

  /// kFailure without a session.
  uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;

  /// Frames that wait.
  uint32_t getEncodedFrameCount() override;

 protected:
  bool takePicture(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  bool takesPictures() const override;

 private:
  uint32_t initCUDA(int32_t deviceId);
  template <typename Entry, typename... Arguments>
  uint32_t told(const char* operation, const char* call, Entry entry, Arguments... arguments);
  bool isOnSameDevice(const VideoFrameBuffer& frame) const;

  std::shared_ptr<NvencDevice> device;  ///< the work holds it too: a call that hangs may still use it
  int32_t gpuid = -1;
};

}  // namespace qvs

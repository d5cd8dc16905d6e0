#pragma once

#include <cstdint>

#include "video/decoders/hosts/VideoDecoderPluginHost.h"

namespace qvs {

/// H.264 and H.265 on the card. With the fourCC "YV12" pictures are copied out of the card's NV12; with any other they
/// stay there, and the frame gets the handle ("HN12").
class VideoDecoderH264U30Host : public VideoDecoderPluginHost {
 public:
  VideoDecoderH264U30Host();

  uint32_t initialize() override;
  using VideoDecoderPluginHost::decode;
  uint32_t decode(uint32_t* flags, uint8_t flush) override;
  uint32_t getDecodedFrame(VideoFrameBuffer& frame) override;
  FrameAllocProvider getAllocProvider() override;
  FrameFreeProvider getFreeProvider() override;

 private:
  uint32_t refuse(const VideoFrameBuffer& frame, PluginVideoBuffer& picture);
  bool fill(VideoFrameBuffer& frame, PluginVideoBuffer& picture) const;

  uint64_t lastFramesDecoded = ~uint64_t{0};
};

}  // namespace qvs

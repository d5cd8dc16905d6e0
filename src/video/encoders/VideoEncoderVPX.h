#pragma once

#include <vpx/vp8cx.h>
#include <vpx/vpx_encoder.h>

#include <array>
#include <memory>
#include <vector>

#include "frames/VideoFrameEncoded.h"
#include "platform/ParameterTable.h"
#include "video/encoders/EncodeWorker.h"
#include "video/encoders/VideoEncoderBase.h"
#include "video/encoders/VPXEncodeJob.h"
#include "video/encoders/VPXPaddedImage.h"

namespace qvs {

/// What an encoder remembers of a frame until its packet comes.
struct VPXEncoderUserData {
  uint64_t timecode = 0;  ///< milliseconds
  uint32_t frameType = 0;
};

/// VP8 (codec version 8) and VP9 (9) by libvpx. Every setting of libvpx is open by an integer key; keys take
/// effect at `initialize` and come after `setDefaults`.
///
/// Keys from 100100 on are off by default: `threadCount` (the threads really used; 0 leaves the default of
/// 16), `asynchronous` (non-zero: `addFrame` keeps the frame and returns while the work pool encodes it;
/// `getEncodedFrames` waits for it; the packets are the same to the bit), `staticThreshold`, and for VP9
/// `colorSpace` and `colorRange` (numbers of libvpx; what the stream says its pictures are).
class VideoEncoderVPX : public WithParameters<VideoEncoderVPX, VideoEncoderBase> {
 public:
  static constexpr uint32_t kVersionVP8 = 8;
  static constexpr uint32_t kVersionVP9 = 9;  ///< every other version is taken for VP8
  static constexpr uint32_t kKeyCpuUsed = 100033;
  static constexpr uint32_t kKeyDeadline = 100034;
  static constexpr uint32_t kKeyThreadCount = 100100;
  static constexpr uint32_t kKeyAsynchronous = 100101;
  static constexpr uint32_t kKeyStaticThreshold = 100102;
  static constexpr uint32_t kKeyColorSpace = 100103;
  static constexpr uint32_t kKeyColorRange = 100104;

  VideoEncoderVPX();
  ~VideoEncoderVPX() override;

  uint32_t setDefaults(int32_t videoType, int32_t pal) override;
  uint32_t setFrameSize(uint32_t width, uint32_t height) override;
  uint32_t setFrameRate(double frameRate) override;
  uint32_t setBitrate(uint32_t bitrate) override;
  uint32_t updateBitrate(uint32_t bitrate) override;
  uint32_t setKeyFrameFollow(uint8_t keyFrameFollow) override;
  uint32_t checkSettings() override { return 0; }
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t initialize() override;
  uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  uint32_t getEncodedFrameCount() override;
  uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& out) override;
  static const ParameterRow<VideoEncoderVPX>* parameterOf(uint32_t key);
  void finish() override;

  const vpx_codec_enc_cfg_t& getVPXConfig() const { return vpxConfig; }
  const vpx_codec_ctx_t& getVPXCodec() const { return vpxCodec; }

 private:
  vpx_codec_iface_t* codecInterface() const;
  int32_t cpuUsedInForce() const;
  void closeCodec();
  void writeSignalColor();
  bool isEncodable(const VPXEncodeJob& job);
  void encode(const VPXEncodeJob& job);
  void takePacket(const vpx_codec_cx_pkt_t& packet);

  vpx_codec_enc_cfg_t vpxConfig{};
  vpx_codec_ctx_t vpxCodec{};
  uint8_t codecInitialized = 0;
  double frameRate = 0.0;
  int64_t frameCount = 0;                          ///< frames given to libvpx, and the next presentation time
  std::vector<VideoFrameEncoded> frames;           ///< owned until fetched
  std::array<VPXEncoderUserData, 128> userData{};  ///< ring by presentation time
  int32_t cpuUsed = 0;
  uint8_t cpuUsedSet = 0;
  uint64_t deadline = VPX_DL_REALTIME;
  uint32_t threadCount = 0;
  uint32_t asynchronous = 0;
  uint32_t staticThreshold = 0;
  uint32_t colorSpace = VPX_CS_UNKNOWN;
  uint32_t colorRange = VPX_CR_STUDIO_RANGE;
  uint32_t imageWidth = 0;  ///< as `initialize` found them
  uint32_t imageHeight = 0;
  uint8_t showFrameError = 1;
  VPXPaddedImage paddedImage;
  std::unique_ptr<EncodeWorker<VPXEncodeJob>>
      worker;  ///< while asynchronous; all above from `frameCount` on is its own then
};

}  // namespace qvs

#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "frames/EncodedUnits.h"
#include "ipp-samples/H263EncoderParams.h"
#include "ipp-samples/H263VideoEncoder.h"
#include "video/encoders/VideoEncoderBase.h"

namespace qvs {

/// H.263 out, by the sample framework's encoder. Sizes are divisible by 4 and below 8192; beyond the five of H.263
/// proper, and with its modes, the stream is one of H.263+.
///
/// Keys 60000 to 60021 are the encoder's settings, before `initialize`; a line tells those that do nothing.
class VideoEncoderH263IPP : public VideoEncoderBase {
 public:
  VideoEncoderH263IPP();
  ~VideoEncoderH263IPP() override;

  using VideoEncoderBase::getParameterValue;
  using VideoEncoderBase::setParameterValue;

  uint32_t setDefaults(int32_t videoType, int32_t pal) override;
  uint32_t setFrameSize(uint32_t width, uint32_t height) override;
  uint32_t setFrameRate(double frameRate) override;
  uint32_t setBitrate(uint32_t bitrate) override;
  uint32_t updateBitrate(uint32_t) override { return 0; }  ///< not while running
  /// Follows from now on, whatever the value.
  uint32_t setKeyFrameFollow(uint8_t keyFrameFollow) override;
  uint32_t checkSettings() override { return 0; }
  uint32_t initialize() override;
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) override;
  uint32_t getEncodedFrameCount() override { return static_cast<uint32_t>(frames.size()); }
  uint32_t getEncodedFrames(std::vector<VideoFrameEncoded>& out) override;
  uint32_t applyParameters() override { return 0; }
  uint32_t setParameterValue(uint32_t key, int64_t value) override;
  uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) override;
  uint32_t getParameterValue(uint32_t key, int64_t* value) override;

 private:
  static constexpr size_t kOutputSize = 0x20000;

  void warn(const char* operation, const char* text, int64_t number) const;
  Ipp32s* field(uint32_t key);
  bool initInput(const VideoFrameBuffer& frame);
  bool takePlanes(const VideoFrameBuffer& frame);
  uint32_t collect();

  uint32_t frameCount = 0;
  uint8_t isKeyFrameFollow = 0;
  uint64_t timePerFrame = 0;  ///< tenths of a millisecond
  std::unique_ptr<UMC::H263VideoEncoder> pCodec;
  std::unique_ptr<UMC::H263EncoderParams> pEncoderParams;
  UMC::VideoData in;
  UMC::MediaData out{kOutputSize};
  uint8_t initIn = 1;  ///< until the input has been set up
  uint32_t failures = 0;
  EncodedVideoUnits frames;  ///< until fetched
};

}  // namespace qvs

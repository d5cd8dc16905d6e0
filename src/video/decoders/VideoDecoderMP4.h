#pragma once

#include "video/decoders/VideoDecoderBufferStream.h"

namespace qvs {

/// MPEG-4 part 2; by `setCodecAndVersion` also H.263 and Sorenson Spark, whose streams have no configuration:
/// an empty record sets them up, or their first picture does, which also tells the size ahead of decoding.
class VideoDecoderMP4 : public VideoDecoderBufferStream {
 public:
  static constexpr uint32_t kCodecH263 = 9;
  static constexpr uint32_t kCodecSorenson = 2;

  VideoDecoderMP4();

  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;

 protected:
  bufstream_tt* createBackEnd(callbacks_t* callbacks) override;
  void readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height) const override;
  std::string describeAspect(const mc_seq_params_ex_t& info) const override;
};

}  // namespace qvs

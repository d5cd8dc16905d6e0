#pragma once

#include "video/decoders/NalUnitSplicer.h"
#include "video/decoders/VideoDecoderBufferStream.h"

namespace qvs {

enum : uint32_t {
  HEVCVD_MV_PRECISION_QUARTER = 0,
  HEVCVD_MV_PRECISION_HALF = 1,
  HEVCVD_MV_PRECISION_FULL = 2,
};

/// H.265 as containers hold it. The back end takes its parameter sets with the first key frame.
class VideoDecoderH265 : public VideoDecoderBufferStream {
 public:
  VideoDecoderH265();

  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;

 protected:
  bufstream_tt* createBackEnd(callbacks_t* callbacks) override;
  void readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height) const override;
  std::string describeAspect(const mc_seq_params_ex_t& info) const override;
  const Parameter* codecParameter(uint32_t key) const override;

 private:
  void setUp();

  int maxTemporalLayer = 8;
  uint32_t loop_filter = 1;
  uint32_t output_8bit = 0;  ///< this, dpb_size and ec are kept and not sent
  uint32_t mv_precision = HEVCVD_MV_PRECISION_QUARTER;
  uint32_t dpb_size = 0;
  uint32_t ec = 0;
  NalUnitSplicer splicer;
};

}  // namespace qvs

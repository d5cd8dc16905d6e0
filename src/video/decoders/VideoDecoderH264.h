#pragma once

#include "video/decoders/NalUnitSplicer.h"
#include "video/decoders/VideoDecoderBufferStream.h"

namespace qvs {

enum : uint32_t {
  H264VD_MV_PRECISION_QUARTER = 0,
  H264VD_MV_PRECISION_HALF = 1,
  H264VD_MV_PRECISION_FULL = 2,
};

/// H.264 as containers hold it: a configuration record, then length-prefixed access units. Later records
/// replace the stored parameter sets, which are spliced into key frames that bring none.
class VideoDecoderH264 : public VideoDecoderBufferStream {
 public:
  VideoDecoderH264();

  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;

 protected:
  bufstream_tt* createBackEnd(callbacks_t* callbacks) override;
  void readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height) const override;
  std::string describeAspect(const mc_seq_params_ex_t& info) const override;
  const Parameter* codecParameter(uint32_t key) const override;

 private:
  void reportOverrun(const ParameterSets::Overrun& overrun, size_t len);
  uint32_t setUp();

  uint32_t loop_filter = 1;
  uint32_t output_8bit = 0;
  uint32_t mv_precision = H264VD_MV_PRECISION_QUARTER;
  uint32_t dpb_size = 0;
  uint32_t ec = 0;                 ///< error concealment mode
  uint64_t lastTimecodeDebug = 0;  ///< of the last `addFrame`
  NalUnitSplicer splicer;
};

}  // namespace qvs

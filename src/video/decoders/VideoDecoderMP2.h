#pragma once

#include "video/decoders/VideoDecoderBufferStream.h"

namespace qvs {

/// MPEG-1 and MPEG-2 video. Up to ten units queue; the bytes of those that wait are copied, since a caller
/// may take a unit's memory back when it adds the next one.
class VideoDecoderMP2 : public VideoDecoderBufferStream {
 public:
  VideoDecoderMP2();

  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                    uint32_t frameType) override;

 protected:
  bufstream_tt* createBackEnd(callbacks_t* callbacks) override;
  void readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height) const override;
  std::string describeAspect(const mc_seq_params_ex_t& info) const override;

 private:
  static constexpr size_t kQueueMax = 9;  ///< blocks; one more empties the list

  /// Gives the last block bytes of its own; false, and the block is gone, without memory.
  bool keepLast();
};

}  // namespace qvs

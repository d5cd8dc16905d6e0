#pragma once

#include "audio/AudioDecoderBase.h"
#include "audio/G711Law.h"

namespace qvs {

/// G.711 of either law: each byte a sample. The format comes with a first frame of 9 bytes or more: one byte
/// that is not read, the rate in Hz and the channel count, both in four bytes, most significant first. No
/// channel, more than 255 or no rate is refused.
///
/// A block's sample count is the number of its bytes for any channel count; with several channels the block
/// is filled up with silence to the size that this count stands for.
class AudioDecoderG711 : public AudioDecoderBase {
 public:
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;

 protected:
  explicit AudioDecoderG711(const G711Law& law);

 private:
  const G711Law& law;
};

}  // namespace qvs

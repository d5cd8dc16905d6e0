// The C interface of the AAC decoder.
#include "audio/AudioStreamDecoder.h"
#include "mc_dec_aac.h"

extern "C" bufstream_tt* createDecoderAAC(const callbacks_t* callbacks, uint32_t, uint32_t) {
  return qvs::mc::AudioStreamDecoder::create(qvs::mc::kAdtsFormat, callbacks);
}

// The C interface of the MPEG audio decoder.
#include "audio/AudioStreamDecoder.h"
#include "mc_dec_mpa.h"

extern "C" bufstream_tt* createDecoderMpegAudio(const callbacks_t* callbacks, uint32_t, uint32_t) {
  return qvs::mc::AudioStreamDecoder::create(qvs::mc::kMpegAudioFormat, callbacks);
}

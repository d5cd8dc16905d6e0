// Records that the audio decoders share. Pure data, C layout.
#pragma once

#include <cstdint>

extern "C" {

/// Where a decoder writes its next block. Announced once with PARSE_FRAMES, read and written on each
/// `copybytes`: the record and the memory must stay until the decoder ends or another record is announced.
struct aud_bfr_tt {
  uint8_t* bfr;       ///< interleaved signed 16-bit samples of the host's byte order
  uint32_t bfr_size;  ///< in: bytes of room; out: bytes of the block, 0 when none came
};
static_assert(sizeof(aud_bfr_tt) == 16);

/// A coded frame's header; after decoding with the rate, channels and samples that really came out.
struct mc_aud_frame_hdr_t {
  uint32_t sample_rate;  ///< Hz
  uint32_t channels;
  uint32_t bit_rate;  ///< bits per second
  uint32_t version;   ///< MPEG audio: 1 MPEG-1, 2 MPEG-2, 3 MPEG-2.5; AAC: 4 with MPEG-4 headers, else 2
  uint32_t layer;     ///< MPEG audio: 1 to 3; AAC: 0
  uint32_t samples;   ///< a channel
};

/// Sent with INIT_FRAME_PARSER. All bits of a field set: not known. Channels and rate are for streams without
/// headers; a stream's own headers always win.
struct aac_decoder_config {
  uint32_t num_channels;
  uint32_t sampling_rate;     ///< Hz
  uint32_t output_format;     ///< 2: signed 16-bit, what always comes
  uint32_t bitstream_format;  ///< 0 or not known: frames with ADTS headers; nothing else is served
  uint32_t reserved[28];
};
static_assert(sizeof(aac_decoder_config) == 128);

/// Sent with PARSE_INIT.
struct mpa_decoder_config {
  uint32_t output_format;  ///< 2: signed 16-bit, what always comes
  uint32_t reserved[17];
};
static_assert(sizeof(mpa_decoder_config) == 72);
}

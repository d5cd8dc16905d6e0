// The AAC encoder: its settings and its seven operations. Pure data, C layout.
//
// Input is interleaved signed 16-bit sound, channels in the order of the WAVE format. Output goes to a stream
// record: per coded frame its bytes, then `auxinfo` of AUDIO_AU_CODE with a mc_a_au_struct_t. The first frame
// that comes out carries the first 1024 samples that went in: what the codec puts before them is not sent.
// A frame comes out when the two behind it have gone in.
#pragma once

#include <cstdint>

#include "mc_bufstream.h"
#include "mc_callbacks.h"

extern "C" {

struct mc_aac_encoder_t;
typedef mc_aac_encoder_t aacaenc_tt;

/// Bit rates by `audio_bitrate_index`, kbit/s, for all channels together. Index 0: the lowest there is.
inline constexpr uint32_t AAC_AUDIO_BITRATES[] = {0,   6,   7,   8,   10,  12,  14,  16,  20,  24,
                                                  28,  32,  40,  48,  56,  64,  80,  96,  112, 128,
                                                  160, 192, 224, 256, 320, 384, 448, 512, 1024};

enum { AAC_MPEG_2 = 2, AAC_MPEG_4 = 4 };                                      ///< mpeg_version
enum { AAC_OBJECT_MAIN = 1, AAC_OBJECT_LC, AAC_OBJECT_SSR, AAC_OBJECT_LTP };  ///< aac_object_type
enum { AAC_HEADER_RAW = 0, AAC_HEADER_ADTS = 1 };                             ///< header_type
enum { AAC_HE_OFF = 0, AAC_HE_V1 = 1, AAC_HE_V2 = 2 };                        ///< he
enum { AAC_CH_MODE_AUTO = 0, AAC_CH_MODE_LEFT_RIGHT, AAC_CH_MODE_MID_SIDE, AAC_CH_MODE_CUSTOM };

struct aac_channel_config_t {
  uint32_t position;
  uint32_t mode;
};

struct aac_a_settings {
  uint32_t input_channels;       ///< 1 to 6, or 8
  uint32_t mpeg_version;         ///< AAC_MPEG_4 (default) or AAC_MPEG_2
  uint32_t aac_object_type;      ///< AAC_OBJECT_LC only
  uint32_t audio_bitrate_index;  ///< of AAC_AUDIO_BITRATES
  /// AAC_HEADER_ADTS (default): each frame tells its configuration. AAC_HEADER_RAW: bare access units, for a
  /// consumer that knows rate and channels.
  uint32_t header_type;
  uint32_t hf_cutoff;            ///< Hz; 0: by the bit rate
  uint32_t vbr;                  ///< 0: constant bit rate; 1 (smallest) to 10 (best): constant quality
  uint32_t he;                   ///< AAC_HE_OFF only
  uint32_t bits_per_sample;      ///< 16 only
  uint32_t protect_adts_stream;  ///< 0 only: headers without checksum
  uint32_t tns;                  ///< temporal noise shaping: 0 off, else on (default)
  int64_t pts_offset;            ///< of the first frame, in `pts_units`
  int32_t pts_units;             ///< ticks a second; 0: 27 MHz
  uint32_t ch_mode;              ///< how channel pairs are coded; AAC_CH_MODE_CUSTOM isn't served
  uint32_t LFE_filtering;        ///< 0 only where there is such a channel
  int64_t restart_interval;      ///< 0 only
  aac_channel_config_t custom_config[16];  ///< for AAC_CH_MODE_CUSTOM
  uint16_t audio_bitrate_custom;           ///< kbit/s instead of the index; 0: the index
  uint8_t reserved[256];
};

/// A finished coded frame.
struct mc_a_au_struct_t {
  uint32_t length;  ///< bytes, header included
  int64_t PTS;      ///< `pts_offset` plus the time since the first frame, in `pts_units`
};

/// Fills `settings`; `preset` is 0. Returns the preset's name, or null for one that there isn't.
const char* aacOutAudioDefaults(aac_a_settings* settings, int32_t preset);

/// 0: an encoder with these settings can be had. Otherwise one line through `err_printf` says why not. The
/// arguments that aren't named are 0.
int32_t aacOutAudioChkSettings(const callbacks_t* callbacks, const aac_a_settings* settings, uint32_t options,
                               uint32_t sampleRate, void*, void*);

/// A new encoder, or null. `settings` and `callbacks` are copied. To be ended by `aacOutAudioFree`.
aacaenc_tt* aacOutAudioNew(const callbacks_t* callbacks, const aac_a_settings* settings, uint32_t options,
                           uint32_t cpu, uint32_t sampleRate);

/// Opens the codec with `stream` for its output; the stream must outlive the encoder. 0 on success.
int32_t aacOutAudioInit(aacaenc_tt* instance, bufstream_tt* stream);

/// Takes any number of bytes and codes each 1024 samples that are together. 0 on success.
int32_t aacOutAudioPutBytes(aacaenc_tt* instance, const uint8_t* data, uint32_t size);

/// `abort` 0: codes what is left, so that every frame comes out. 0 on success.
int32_t aacOutAudioDone(aacaenc_tt* instance, int32_t abort);

void aacOutAudioFree(aacaenc_tt* instance);
}

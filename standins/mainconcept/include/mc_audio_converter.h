// The audio converter: changes rate, channels and layout of a stream of interleaved PCM. Pure data, C layout.
#pragma once

#include <cstdint>

#include "mc_bufstream.h"
#include "mc_callbacks.h"

extern "C" {

/// Speakers of a channel mask; channels are interleaved in ascending order of their bits.
enum audio_flag_t {
  CHANNEL_FLAG_L = 1,
  CHANNEL_FLAG_R = 2,
  CHANNEL_FLAG_C = 4,
  CHANNEL_FLAG_LFE = 8,
  CHANNEL_FLAG_Ls = 16,
  CHANNEL_FLAG_Rs = 32,
  CHANNEL_FLAG_Lrs = 64,
  CHANNEL_FLAG_Rrs = 128,
  CHANNEL_FLAG_9 = 256,
  CHANNEL_FLAG_10 = 512,
  CHANNEL_FLAG_11 = 1024,
  CHANNEL_FLAG_12 = 2048,
  CHANNEL_FLAG_13 = 4096,
  CHANNEL_FLAG_14 = 8192,
  CHANNEL_FLAG_15 = 16384,
  CHANNEL_FLAG_16 = 32768,
};

enum data_format_t {
  DATA_PCM = 1,
  DATA_DVD_LPCM = 2,
  DATA_HDMV_LPCM = 3,
  DATA_AES3 = 4,
  DATA_FLOAT = 5,
};

/// What a stream comes as and what it leaves as. Zeroed before use. Served: 16-bit PCM of 1 to 16 interleaved
/// channels at 1000 to 768000 Hz, rates at most 64 times apart; a mask with one bit a channel, or C alone for
/// 7 channels and more, whose layout is then the usual one of that count.
struct converter_settings {
  uint8_t input_channels;
  uint8_t input_bits_per_sample;
  uint8_t input_format;         ///< data_format_t
  uint32_t input_channel_mask;  ///< audio_flag_t bits
  uint32_t input_samplerate;    ///< Hz
  uint8_t output_channels;
  uint8_t output_bits_per_sample;
  uint8_t output_format;         ///< data_format_t; 0: as the input
  uint32_t output_channel_mask;  ///< audio_flag_t bits
  uint32_t output_samplerate;    ///< Hz
  uint32_t out_frame_size;       ///< bytes that the stream holds
  uint32_t user_matrix;          ///< not 0: `mixing_matrix` mixes; not served
  double mixing_matrix[16][16];
  uint32_t use_custom_in_table;  ///< not 0: `in_channel_order` counts; not served
  uint32_t in_channel_order[16];
  uint32_t use_custom_out_table;  ///< not 0: `out_channel_order` counts; not served
  uint32_t out_channel_order[16];
  uint32_t separate_input_channels_mode;   ///< 0: interleaved, the only one served
  uint32_t separate_output_channels_mode;  ///< 0: interleaved, the only one served
  uint32_t reserved[32];
};

/// What `audioConverterCheckSettings` finds wrong.
enum {
  AUDIO_CONVERTER_BAD_ARGUMENT = 1,
  AUDIO_CONVERTER_BAD_CHANNELS = 2,
  AUDIO_CONVERTER_BAD_FORMAT = 3,
  AUDIO_CONVERTER_BAD_RATE = 4,
  AUDIO_CONVERTER_BAD_MASK = 5,
  AUDIO_CONVERTER_BAD_MODE = 6,
  AUDIO_CONVERTER_NO_MEMORY = 7,
};

struct audio_converter_t;
typedef audio_converter_t audio_converter_tt;

/// 0 when the settings can be served, else a code from above.
uint32_t audioConverterCheckSettings(callbacks_t* callbacks, const converter_settings* settings,
                                     uint32_t options, void* report);

/// Null where the settings aren't served or memory or the engine's library is missing.
audio_converter_tt* audioConverterNew(callbacks_t* callbacks, const converter_settings* settings);

/// `stream` is borrowed until the converter is freed.
uint32_t audioConverterInit(audio_converter_tt* converter, bufstream_tt* stream);

/// Whole sample groups only. What comes of them is in the stream on return, less what the filter holds back.
uint32_t audioConverterPutBytes(audio_converter_tt* converter, const uint8_t* data, uint32_t size,
                                uint32_t options, void** extra);

/// `abort` 0: the rest of all samples put goes to the stream, so that n of them have made
/// round(n * output rate / input rate) in all. Otherwise it is discarded. A converter can be used again
/// after.
void audioConverterDone(audio_converter_tt* converter, int32_t abort);

void audioConverterFree(audio_converter_tt* converter);
}

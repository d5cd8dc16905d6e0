// The stream record: sink of the encoders and of the audio converter, handle of the decoders. Pure data, C
// layout.
#pragma once

#include <cstdint>

extern "C" {

struct mc_bufstream_t;
typedef mc_bufstream_t bufstream_tt;

/// A table of functions with its owner's pointer. Functions that an owner doesn't serve are null.
struct mc_bufstream_t {
  uint32_t (*usable_bytes)(bufstream_tt* stream);            ///< bytes gathered so far
  uint8_t* (*request)(bufstream_tt* stream, uint32_t size);  ///< where to write next; null when full
  uint32_t (*confirm)(bufstream_tt* stream, uint32_t size);  ///< bytes written after a request
  uint32_t (*copybytes)(bufstream_tt* stream, uint8_t* source, uint32_t size);  ///< bytes taken: all or 0
  uint32_t (*chunksize)(bufstream_tt* stream);                                  ///< room left, bytes
  uint32_t (*auxinfo)(bufstream_tt* stream, uint32_t offset, uint32_t code, void* info, uint32_t size);
  void (*split)(bufstream_tt* stream);
  void (*done)(bufstream_tt* stream, int32_t abort);
  void (*free)(bufstream_tt* stream);
  void (*drive_ptr)(bufstream_tt* stream, void* pointer);
  void* Buf_IO_struct;  ///< the owner's own pointer
};

/// Codes of `auxinfo` that an encoder sends to its stream.
enum {
  TIME_STAMP_INFO = 0xF000000,  ///< mc_sample_info_struct_t: an access unit begins
  VIDEO_AU_CODE = 0xF0001,      ///< mc_v_au_struct_t: an access unit is complete
  AUDIO_AU_CODE = 0xF0002,      ///< a coded audio frame is complete
  STREAM_RESET_CODE = 0x100,    ///< discard what was gathered
};

/// Times of a unit, in 100 ns.
struct mc_sample_info_struct_t {
  int64_t rtStart;
  int64_t rtStop;
  uint32_t flags;
  int32_t mode;
};

/// A finished unit; times on a 27 MHz clock.
struct mc_v_au_struct_t {
  uint32_t length;  ///< bytes
  uint16_t type;
  uint16_t flags;
  uint16_t pict_hdr_offset;
  uint32_t first_frame_offset;
  int64_t DTS;
  int64_t PTS;
};
}

// MPEG audio decoder: layers I, II and III of MPEG-1, MPEG-2 and MPEG-2.5.
#pragma once

#include "mc_audio.h"
#include "mc_bufstream.h"
#include "mc_callbacks.h"
#include "mc_decoder_codes.h"

extern "C" {

/// As `createDecoderAAC`. Tags of files (ID3, the table of contents in a first frame) are skipped; free
/// format is refused with PARSE_ERR_FLAG and one line.
bufstream_tt* createDecoderMpegAudio(const callbacks_t* callbacks, uint32_t reserved1, uint32_t reserved2);
}

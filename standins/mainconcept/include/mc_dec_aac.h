// AAC decoder: LC, Main, LTP, HE (SBR) and HE v2 (SBR and PS) in frames with ADTS headers.
#pragma once

#include "mc_audio.h"
#include "mc_bufstream.h"
#include "mc_callbacks.h"
#include "mc_decoder_codes.h"

extern "C" {

/// A decoder without delay, or null when there is none to be had. `callbacks` may be null and is copied; the
/// other arguments are 0. Ended by its `done` and `free`.
///
/// `copybytes` takes bytes up to the end of the next coded frame and answers how many; a frame's bytes may
/// come in any pieces. Each frame that is whole sets PARSE_DONE_FLAG and gives its block, or no bytes where
/// it carries no sound; one that can't be decoded sets PARSE_ERR_FLAG and is gone. Bytes that belong to no
/// frame are skipped; where a call finds nothing else, PARSE_ERR_FLAG is set too. AUD_NO_ROOM_FLAG: the block
/// is larger than the room; the header tells its size, and a call with 0 bytes and enough room fetches it,
/// other bytes end it. After PARSE_AUD_HDR the next call reads one frame's header and drops all its bytes.
bufstream_tt* createDecoderAAC(const callbacks_t* callbacks, uint32_t reserved1, uint32_t reserved2);
}

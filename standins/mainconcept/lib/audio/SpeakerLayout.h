#pragma once

#include <cstdint>

namespace qvs::mc {

/// Where the channels of a stream are meant to be heard.
struct SpeakerLayout {
  uint64_t mask = 0;     ///< the engine's speaker bits in the order of the channels; 0: not to be served
  bool mixable = false;  ///< speakers are known; others can only be carried over as they are
};

/// The layout of `channels` interleaved channels with a mask of audio_flag_t bits; the usual one of the count
/// where the mask is for another.
SpeakerLayout layoutOf(uint32_t channels, uint32_t flags);

}  // namespace qvs::mc

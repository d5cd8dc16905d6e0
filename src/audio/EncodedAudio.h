#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "frames/AudioFrameEncoded.h"

namespace qvs {

/// The byte blocks behind coded audio frames, which plain vectors of frames don't own.
class EncodedAudio {
 public:
  /// Where and when a frame belongs; bytes are none of its matter.
  struct Stamp {
    uint64_t timecode = 0;  ///< samples
    uint32_t channels = 0;
    uint32_t sampleRate = 0;  ///< Hz
  };

  /// Appends a frame with a malloc'ed copy of `head` and `body` behind each other. False, with `frames` as
  /// they were, where there is no memory for it.
  static bool append(std::vector<AudioFrameEncoded>& frames, const Stamp& stamp,
                     std::span<const uint8_t> head, std::span<const uint8_t> body = {});

  /// Frees the bytes of all frames and drops the frames.
  static void release(std::vector<AudioFrameEncoded>& frames);
};

}  // namespace qvs

#pragma once

#include <cstdint>
#include <memory>

#include "audio/SpeakerLayout.h"

struct SwrContext;

namespace qvs::mc {

struct AudioFormat {
  uint32_t rate = 0;  ///< Hz
  uint32_t channels = 0;
  SpeakerLayout layout;
};

/// libswresample for interleaved 16-bit audio: mixes and filters in float, rounds to the nearest at the end.
/// Frames are one sample of each channel.
class SwrEngine {
 public:
  /// Null where the library isn't installed or refuses.
  static std::unique_ptr<SwrEngine> open(const AudioFormat& from, const AudioFormat& to);
  ~SwrEngine();
  SwrEngine(const SwrEngine&) = delete;
  SwrEngine& operator=(const SwrEngine&) = delete;

  /// Most frames that come out when `frames` more go in.
  uint32_t mostOut(uint32_t frames) const;

  /// Frames written to `out`, which has room for `capacity`. Without `in`, what the filter holds.
  uint32_t convert(const uint8_t* in, uint32_t frames, uint8_t* out, uint32_t capacity);

  /// Forgets what went in. False when the engine is of no use any more.
  bool restart();

 private:
  SwrEngine() = default;
  bool configure(const AudioFormat& from, const AudioFormat& to);

  SwrContext* context = nullptr;
};

}  // namespace qvs::mc

#pragma once

#include <mc_audio_converter.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "audio/SwrEngine.h"

namespace qvs::mc {

/// One stream of audio on its way to another format. A stream whose format stays is handed on bit for bit.
class AudioConverter {
 public:
  /// 0 or a code of mc_audio_converter.h.
  static uint32_t check(const converter_settings& settings);

  /// `settings` have passed the check. Null without memory or engine.
  static std::unique_ptr<AudioConverter> make(const converter_settings& settings);

  uint32_t init(bufstream_tt* target);
  uint32_t put(const uint8_t* data, uint32_t size);
  void drain();
  void discard();

 private:
  struct Free {
    void operator()(void* block) const { std::free(block); }
  };

  AudioConverter(const AudioFormat& from, const AudioFormat& to) : from(from), to(to) {}
  bool openEngine();
  void handOn(const uint8_t* data, uint32_t frames);

  /// Runs `frames` through the engine into the stream, at most `wanted` out. `data` null: the filter's rest.
  /// Returns the frames that came out.
  uint32_t pass(const uint8_t* data, uint32_t frames, uint64_t wanted);
  uint8_t* scratchFor(uint32_t bytes);
  uint32_t frameBytes() const { return to.channels * 2; }

  AudioFormat from;
  AudioFormat to;
  std::unique_ptr<SwrEngine> engine;  ///< null: the format stays
  bufstream_tt* stream = nullptr;     ///< borrowed
  uint64_t framesIn = 0;              ///< since the engine's last start
  uint64_t framesOut = 0;
  bool spent = false;  ///< drained or discarded: the engine starts anew with the next samples
  std::unique_ptr<uint8_t, Free> scratch;  ///< for output that the stream has no stretch for
  uint32_t scratchBytes = 0;
};

}  // namespace qvs::mc

#pragma once

#include <cstdint>
#include <memory>

#include "audio/AudioCodec.h"
#include "audio/FrameAssembler.h"
#include "mc_audio.h"
#include "mc_bufstream.h"
#include "mc_callbacks.h"

namespace qvs::mc {

/// The decoder behind a stream record: bytes in through `copybytes`, commands through `auxinfo`, blocks out
/// into the announced buffer.
class AudioStreamDecoder {
 public:
  /// Null when memory or libavcodec fails. The record's `free` ends it.
  static bufstream_tt* create(const FrameFormat& format, const callbacks_t* callbacks);

 private:
  AudioStreamDecoder(const FrameFormat& frameFormat, const callbacks_t* hostCallbacks,
                     std::unique_ptr<AudioCodec> audioCodec);

  uint32_t copyBytes(std::span<const uint8_t> input);
  uint32_t auxInfo(uint32_t code, void* info, uint32_t size);
  uint32_t readHeaderOnly(std::span<const uint8_t> input);
  uint32_t decodeNext(std::span<const uint8_t> input);
  void decodeFrame();
  bool isPlausible(const mc_aud_frame_hdr_t& coded);
  void deliver();
  uint32_t serves(const void* config, uint32_t size) const;
  uint32_t tellHeader(void* info) const;
  void warnRefused();

  bufstream_tt record{};
  const FrameFormat& format;
  callbacks_t callbacks{};
  std::unique_ptr<AudioCodec> codec;
  FrameAssembler assembler;
  aud_bfr_tt* target = nullptr;  ///< the caller's
  uint32_t room = 0;             ///< bytes that the target had when the call began
  mc_aud_frame_hdr_t header{};
  mc_aud_frame_hdr_t lastCoded{};    ///< as the last block's frame had it
  mc_aud_frame_hdr_t lastDecoded{};  ///< and as it came out
  uint32_t state = 0;
  bool headerKnown = false;
  bool headerOnly = false;  ///< the next call reads a header
  bool blockWaits = false;  ///< for room
  bool refusedWarned = false;
};

}  // namespace qvs::mc

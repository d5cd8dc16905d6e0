#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "audio/FrameFormat.h"
#include "audio/TagSkipper.h"

namespace qvs::mc {

/// Gathers whole coded frames from bytes that come in any pieces. Tags are skipped; what is no frame is
/// passed over byte by byte until one begins.
class FrameAssembler {
 public:
  enum class Progress { kNeedsBytes, kFrame, kRefused };

  /// Gathers in `memory`, at least kMaxFrameBytes; borrowed.
  FrameAssembler(const FrameFormat& frameFormat, std::span<uint8_t> memory)
      : format(frameFormat), bytes(memory), tag(frameFormat) {}

  /// Takes from the front of `input` up to the end of the next frame. A refused frame takes all.
  Progress take(std::span<const uint8_t>& input);

  /// The first header in `input`, for a look ahead that keeps nothing. False where there is none.
  bool findHeader(std::span<const uint8_t> input, mc_aud_frame_hdr_t& found) const;

  /// After kFrame, until `clear`.
  std::span<const uint8_t> frame() const { return bytes.first(frameBytes); }
  const mc_aud_frame_hdr_t& header() const { return frameHeader; }

  /// Bytes passed over since the last frame.
  size_t junkBytes() const { return junk; }

  /// Tags so far that held frames: their length was wrong.
  size_t falseTags() const { return falseTagCount; }

  /// Forgets the frame, or its begin.
  void clear() { held = frameBytes = 0; }

 private:
  bool skipTag(std::span<const uint8_t>& input);
  bool gather(size_t count, std::span<const uint8_t>& input);
  bool examineHeader(std::span<const uint8_t> input);
  bool isConfirmed(std::span<const uint8_t> input) const;
  void dropCutFrame(std::span<const uint8_t> input);
  bool endsWell(std::span<const uint8_t> input, size_t end) const;
  bool isBegin(const uint8_t* at) const;

  const FrameFormat& format;
  std::span<uint8_t> bytes;
  mc_aud_frame_hdr_t frameHeader{};
  size_t held = 0;
  size_t frameBytes = 0;  ///< 0 while the header isn't whole
  TagSkipper tag;
  size_t junk = 0;
  size_t falseTagCount = 0;
};

}  // namespace qvs::mc
